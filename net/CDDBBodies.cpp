// See CDDB.h: the answers of servers taken apart. A body is what follows the head of an answer; its first line begins
// with a code, and a list behind it ends with a line that is a dot.
#include "CDDB.h"

#include "CDDBLog.h"
#include "RecordReader.h"
#include "Sockets.h"
#include "TextParts.h"

#include <cstdlib>

using namespace NV;

namespace {

/// The number in the first three characters; -1 for a shorter line.
int GetCDDBReponseCode(std::string_view body)
{
    const std::string_view line = body.substr(0, body.find_first_of("\r\n"));
    if (line.size() < 3)
        return -1;
    return LeadingNumber(line.substr(0, 3)).value_or(0);
}

bool HasList(std::string_view body)
{
    const int code = GetCDDBReponseCode(body);
    return code >= 210 && code <= 219;
}

/// The lines of a list, without the one with the code, up to the dot.
class ListLines {
public:
    explicit ListLines(std::string_view body) : lines(body)
    {
        std::string_view answer;
        lines.Next(answer);
    }
    bool Next(std::string_view& line) { return lines.Next(line) && line != "."; }

private:
    Lines lines;
};

/// The list as one text.
std::string_view ListText(std::string_view body)
{
    const std::size_t lineEnd = body.find('\n');
    std::string_view text = lineEnd == std::string_view::npos ? std::string_view() : body.substr(lineEnd + 1);
    if (text.substr(0, 3) == ".\r\n")
        return {};
    std::size_t end = text.find("\r\n.\r\n");
    if (end == std::string_view::npos)
        return text;
    return text.substr(0, end + 2);
}

/// What is wrong with an answer, for a person: a refusal says it itself.
CString Refusal(const char* command, std::string_view body)
{
    constexpr std::size_t longest = 200;
    const std::string_view line = body.substr(0, body.find_first_of("\r\n"));
    CString message = CString("FreeDB server did not respond correctly to the ") + command + " command";
    if (GetCDDBReponseCode(body) >= 400)
        message += ": " + ToCString(line.substr(0, longest));
    return message;
}

struct StatusKey {
    std::string_view key;
    i32 CCDDBStatus::*number;
    CString CCDDBStatus::*text;
};

constexpr StatusKey statusKeys[] = {
    {"current proto", &CCDDBStatus::currentProto, nullptr},
    {"max proto", &CCDDBStatus::maxProto, nullptr},
    {"gets", nullptr, &CCDDBStatus::gets},
    {"updates", nullptr, &CCDDBStatus::updates},
    {"posting", nullptr, &CCDDBStatus::posting},
    {"quotes", nullptr, &CCDDBStatus::quotes},
    {"current users", &CCDDBStatus::currentUsers, nullptr},
    {"max users", &CCDDBStatus::maxUsers, nullptr},
    {"strip ext", nullptr, &CCDDBStatus::stripExt},
    {"Database entries", &CCDDBStatus::databaseEntries, nullptr},
};

} // namespace

bool CCDDB::ParseQueryBody(const std::string& body, std::vector<CCDDBQueryResult>& results)
{
    const int code = GetCDDBReponseCode(body);
    CString message;
    message.Format("Response code: %d\n", code);
    CDDBLog(message);
    results.clear();
    if (code == 202)
        return true;
    CCDDBQueryResult match;
    if (code == 200) {
        std::string_view rest = std::string_view(body).substr(0, body.find_first_of("\r\n"));
        TakeWord(rest);
        if (match.Parse(ToCString(rest))) {
            results.push_back(match);
            return true;
        }
        return Fail(netNotSupported, "FreeDB server did not respond correctly to the query command");
    }
    if (!HasList(body))
        return Fail(netNotSupported, "FreeDB server did not respond correctly to the query command");
    ListLines lines(body);
    for (std::string_view line; lines.Next(line);) {
        if (!match.Parse(ToCString(line))) {
            results.clear();
            return Fail(netNotSupported, "FreeDB server did not respond correctly to the query command");
        }
        results.push_back(match);
    }
    return true;
}

bool CCDDB::ParseSitesBody(const std::string& body, std::vector<CCDDBSite>& sites)
{
    if (!HasList(body))
        return Fail(netNotSupported, Refusal("sites", body));
    ListLines lines(body);
    for (std::string_view line; lines.Next(line);) {
        CCDDBSite site;
        if (site.Parse(ToCString(line)))
            sites.push_back(site);
    }
    return true;
}

bool CCDDB::ParseCategoriesBody(const std::string& body, std::vector<CString>& categories)
{
    if (!HasList(body))
        return Fail(netNotSupported, Refusal("categories", body));
    ListLines lines(body);
    for (std::string_view line; lines.Next(line);) {
        line = TrimmedBlanks(line);
        if (!line.empty())
            categories.push_back(ToCString(line));
    }
    return true;
}

bool CCDDB::ParseStatusBody(const std::string& body, CCDDBStatus& status)
{
    if (!HasList(body))
        return Fail(netNotSupported, Refusal("status", body));
    enum { plain, categories, pending } section = plain;
    ListLines lines(body);
    for (std::string_view line; lines.Next(line);) {
        const std::size_t colon = line.find(':');
        if (colon == std::string_view::npos)
            continue;
        const std::string_view key = TrimmedBlanks(line.substr(0, colon));
        const std::string_view value = TrimmedBlanks(line.substr(colon + 1));
        if (SameWithoutCase(key, "Database entries by category")) {
            section = categories;
        } else if (SameWithoutCase(key, "Pending File transmissions")) {
            section = pending;
        } else if (section == categories) {
            status.categoryEntries.emplace_back(ToCString(key), LeadingNumber(value).value_or(0));
        } else if (section == pending) {
            status.pendingTransmissions.emplace_back(ToCString(key), ToCString(value));
        } else {
            for (const StatusKey& known : statusKeys) {
                if (!SameWithoutCase(key, known.key))
                    continue;
                if (known.number)
                    status.*known.number = LeadingNumber(value).value_or(0);
                else
                    status.*known.text = ToCString(value);
            }
        }
    }
    return true;
}

bool CCDDB::ParseMessageBody(const std::string& body, CString& text)
{
    if (!HasList(body))
        return Fail(netNotSupported, "FreeDB server has no message of the day");
    text = ToCString(ListText(body));
    return true;
}

bool CCDDB::ParseRecordBody(const std::string& body, CCDDBRecord& record)
{
    record = CCDDBRecord();
    if (!HasList(body) || !ReadRecord(ListText(body), record))
        return Fail(netNotSupported, Refusal("read", body));
    return true;
}

bool CCDDB::ParseSubmitBody(const std::string& body)
{
    errorMessage = ToCString(body);
    const int code = GetCDDBReponseCode(body);
    if (code < 200 || code > 209) {
        lastError = netNotSupported;
        return false;
    }
    errorMessage.Empty();
    return true;
}
