// See CDDBTypes.h: lines of matches and of servers.
#include "CDDBTypes.h"

#include "CDDBLog.h"
#include "TextParts.h"

using namespace NV;

namespace {

/// Splits a disc's title at its first slash; without one it is both the artist and the title.
void SplitTitle(std::string_view text, CString& artist, CString& title)
{
    const std::size_t slash = text.find('/');
    artist = ToCString(TrimmedBlanks(text.substr(0, slash)));
    title = slash == std::string_view::npos ? artist : ToCString(TrimmedBlanks(text.substr(slash + 1)));
}

/// "N037.21": a letter, three digits of degrees, any character, two of minutes.
bool ParseAngle(std::string_view text, char positive, char negative, bool& isPositive, i32& minutesOfArc)
{
    if (text.size() != 7 || (text[0] != positive && text[0] != negative))
        return false;
    const auto degrees = LeadingNumber(text.substr(1, 3));
    const auto minutes = LeadingNumber(text.substr(5, 2));
    isPositive = text[0] == positive;
    minutesOfArc = degrees.value_or(0) * 60 + minutes.value_or(0);
    return true;
}

} // namespace

bool CCDDBQueryResult::Parse(const char* line)
{
    const auto failed = [](int step) {
        CString message;
        message.Format("Parse failed at %d\n", step);
        CDDBLog(message);
        return false;
    };
    std::string_view rest(line);
    rest = rest.substr(0, rest.find_first_of("\r\n"));
    const std::size_t first = rest.find(' ');
    if (first == std::string_view::npos)
        return failed(380);
    const std::string_view newCategory = TakeWord(rest);
    if (rest.empty())
        return failed(394);
    if (rest.find(' ') == std::string_view::npos)
        return failed(405);
    const std::string_view id = TakeWord(rest);
    if (rest.empty())
        return failed(419);
    category = ToCString(newCategory);
    discId = LeadingHex(id);
    SplitTitle(rest, artist, title);
    return true;
}

void CCDDBRecord::FillQueryResult(CCDDBQueryResult& result) const
{
    result.category = category;
    result.discId = discId;
    result.artist = artist;
    result.title = title;
}

CCDDBSite::CCDDBSite(Purpose purpose) : path(purpose == submission ? "/~cddb/submit.cgi" : "/~cddb/cddb.cgi") {}

bool CCDDBSite::Parse(const char* line)
{
    std::string_view rest = TrimmedBlanks(line);
    const std::string_view newHost = TakeWord(rest);
    const std::string_view protocol = TakeWord(rest);
    const std::string_view newPort = TakeWord(rest);
    const std::string_view newPath = TakeWord(rest);
    const std::string_view newLatitude = TakeWord(rest);
    const std::string_view newLongitude = TakeWord(rest);
    CCDDBSite site;
    const auto number = LeadingNumber(newPort);
    if (!SameWithoutCase(protocol, "http") || !number || *number < 1 || *number > 65535)
        return false;
    if (!ParseAngle(newLatitude, 'N', 'S', site.north, site.latitude) ||
        !ParseAngle(newLongitude, 'E', 'W', site.east, site.longitude))
        return false;
    site.host = ToCString(newHost);
    site.port = *number;
    site.path = ToCString(newPath);
    site.description = ToCString(rest);
    *this = site;
    return true;
}
