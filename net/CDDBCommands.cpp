// See CDDB.h: the commands over a socket, direct or through a proxy, as HTTP/1.0 requests written by hand.
#include "CDDB.h"

#include "CDDBLog.h"
#include "CDDBRequests.h"
#include "Sockets.h"
#include "TextParts.h"

#include <algorithm>
#include <chrono>

using namespace NV;

namespace {

constexpr int initialBufferSize = 4096;
constexpr char terminator[] = "\r\n.\r\n";

/// Where the body begins, -1 while its head is not complete.
std::ptrdiff_t FindHTTPBody(std::string_view answer)
{
    const std::size_t at = answer.find("\r\n\r\n");
    return at == std::string_view::npos ? -1 : static_cast<std::ptrdiff_t>(at + 4);
}

/// Whether an answer needs nothing more. The second digit of its code tells whether a list follows.
bool IsWhole(std::string_view body, std::string_view listEnd)
{
    if (body.size() >= listEnd.size() && body.substr(body.size() - listEnd.size()) == listEnd)
        return true;
    if (body.size() < 5 || body.substr(body.size() - 2) != "\r\n")
        return false;
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    return isDigit(body[0]) && isDigit(body[1]) && isDigit(body[2]) && body[1] != '1';
}

CString NetErrorMessage(const char* format, u32 error)
{
    CString message;
    message.Format(format, static_cast<int>(error), NetErrorText(static_cast<int>(error)).c_str());
    return message;
}

} // namespace

bool CCDDB::ReadResponse(CHTTPSocket& socket, const char* listEnd, std::string& buffer, int initialSize,
                         bool checkTerminator)
{
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::milliseconds(c_nMaxResponseTime);
    const auto failed = [this](u32 error) {
        lastError = error;
        return false;
    };
    buffer.assign(static_cast<std::size_t>(std::max(initialSize, 1)), '\0');
    std::size_t filled = 0;
    std::ptrdiff_t body = -1;
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
        bool readable = false;
        if (!socket.IsReadible(readable, static_cast<u32>(std::clamp<long long>(left, 0, timeout))))
            return failed(netNotSupported);
        if (!readable)
            return failed(netTimedOut);
        if (filled == buffer.size()) {
            if (filled >= c_nMaxResponseSize)
                return failed(netNotSupported);
            buffer.resize(std::min<std::size_t>(2 * filled, std::max<std::size_t>(c_nMaxResponseSize, filled + 1)));
        }
        const std::size_t room = std::min<std::size_t>(buffer.size() - filled, 1U << 30);
        const int got = socket.Receive(buffer.data() + filled, static_cast<int>(room));
        if (got < 0 || (got == 0 && (body < 0 || filled == static_cast<std::size_t>(body))))
            return failed(netNotSupported);
        filled += static_cast<std::size_t>(got);
        const std::string_view answer(buffer.data(), filled);
        if (body < 0)
            body = FindHTTPBody(answer);
        const bool whole =
            checkTerminator && body >= 0 && IsWhole(answer.substr(static_cast<std::size_t>(body)), listEnd);
        if (got == 0 || whole) { // the other end's close ends an answer too
            buffer.resize(filled);
            return true;
        }
    }
}

CString CCDDB::GetProxyHeader(const CCDDBSite& site) const
{
    CString header;
    if (proxyUser.IsEmpty()) {
        header.Format("Host: %s", HostAndPort(site).GetString());
        return header;
    }
    const CString credential = proxyUser + ":" + proxyPassword;
    header.Format("Proxy-Authorization: Basic %s\r\nHost: %s",
                  EncodeBase64(credential.GetString(), credential.GetLength()).GetString(),
                  HostAndPort(site).GetString());
    return header;
}

bool CCDDB::Exchange(const CCDDBSite& site, const CString& request, bool checkTerminator, std::string& body)
{
    const CString& host = proxyHost.IsEmpty() ? site.host : proxyHost;
    CHTTPSocket socket;
    socket.SetTimeout(timeout);
    if (!socket.Create()) {
        CDDBLog("Create socket failed.");
        return Fail(socket.GetLastError(), "Create socket failed.");
    }
    if (!socket.Connect(host, proxyHost.IsEmpty() ? site.port : proxyPort)) {
        const int error = static_cast<int>(socket.GetLastError());
        CString message;
        message.Format("Could not connect to the FreeDB HTTP server %s, GetLastError:%d, %s", host.GetString(), error,
                       NetErrorText(error).c_str());
        return Fail(socket.GetLastError(), message);
    }
    if (socket.Send(request.GetString(), request.GetLength()) != request.GetLength()) {
        const CString message =
            NetErrorMessage("An unexpected error occurred while sending the HTTP query request, GetLastError:%d, %s\n",
                            socket.GetLastError());
        CDDBLog(message);
        return Fail(socket.GetLastError(), message);
    }
    std::string answer;
    if (!ReadResponse(socket, terminator, answer, initialBufferSize, checkTerminator)) {
        if (lastError == 0)
            lastError = netNotSupported;
        const bool late = lastError == netTimedOut;
        errorMessage = late ? "The FreeDB server did not answer in time" : "FreeDB server did not respond correctly";
        return false;
    }
    const std::ptrdiff_t at = FindHTTPBody(answer);
    if (at < 0)
        return Fail(netNotSupported, "FreeDB server did not respond correctly");
    body = answer.substr(static_cast<std::size_t>(at));
    return true;
}

bool CCDDB::Command(CCDDBSite& site, const CString& command, std::string& body)
{
    ClearError();
    UpdateServer(site);
    if (!IsRequestWord(site.host) || !IsRequestWord(site.path))
        return Fail(netNotSupported, "The FreeDB server's host or path cannot stand in a request");
    const CString hello = GetHelloCommand();
    CString request;
    if (proxyHost.IsEmpty())
        request.Format("GET %s?cmd=%s&%s HTTP/1.0\r\n\r\n", site.path.GetString(), command.GetString(),
                       hello.GetString());
    else
        request.Format("GET http://%s?cmd=%s&%s HTTP/1.0\r\n%s\r\n\r\n", (HostAndPort(site) + site.path).GetString(),
                       command.GetString(), hello.GetString(), GetProxyHeader(site).GetString());
    return Exchange(site, request, true, body);
}

int CCDDB::Sites(std::vector<CCDDBSite>& sites, const CCDDBSite& asked)
{
    sites.clear();
    CCDDBSite site = asked;
    std::string body;
    return Command(site, "sites", body) && ParseSitesBody(body, sites);
}

int CCDDB::Categories(const CCDDBSite& asked, std::vector<CString>& categories)
{
    categories.clear();
    CCDDBSite site = asked;
    std::string body;
    return Command(site, "cddb+lscat", body) && ParseCategoriesBody(body, categories);
}

int CCDDB::Status(const CCDDBSite& asked, CCDDBStatus& status)
{
    status = CCDDBStatus();
    CCDDBSite site = asked;
    std::string body;
    return Command(site, "stat", body) && ParseStatusBody(body, status);
}

int CCDDB::MessageOfTheDay(const CCDDBSite& asked, CString& text)
{
    text.Empty();
    CCDDBSite site = asked;
    std::string body;
    return Command(site, "motd", body) && ParseMessageBody(body, text);
}

CString CCDDB::QueryArguments(u32 discId, const std::vector<CCDDBTrackPosition>& positions, bool withLength) const
{
    const int tracks = positions.empty() ? 0 : static_cast<int>(positions.size()) - 1;
    CString arguments;
    arguments.Format("%08x+%d+", discId, tracks);
    for (int i = 0; i < tracks; ++i) {
        const CCDDBTrackPosition& at = positions[static_cast<std::size_t>(i)];
        arguments.AppendFormat("%d+", (at.minutes * 60 + at.seconds) * 75 + at.frames);
    }
    arguments.AppendFormat("%d",
                           withLength && tracks > 0 ? positions.back().minutes * 60 + positions.back().seconds : 0);
    return arguments;
}

int CCDDB::Query(const CCDDBSite& asked, u32 discId, const std::vector<CCDDBTrackPosition>& positions,
                 std::vector<CCDDBQueryResult>& results, bool discIdOnly)
{
    results.clear();
    CCDDBSite site = asked;
    CString arguments;
    if (discIdOnly && proxyHost.IsEmpty())
        arguments.Format("%08x", discId);
    else
        arguments = QueryArguments(discId, positions, !discIdOnly);
    std::string body;
    return Command(site, "cddb+query+" + arguments, body) && ParseQueryBody(body, results);
}

int CCDDB::Read(const CCDDBSite& asked, u32 discId, const char* category, CCDDBRecord& record)
{
    record = CCDDBRecord();
    CCDDBSite site = asked;
    CString command;
    command.Format("cddb+read+%s+%08x", RequestArgument(category).GetString(), discId);
    std::string body;
    if (!Command(site, command, body) || !ParseRecordBody(body, record))
        return 0;
    record.category = category;
    return 1;
}

int CCDDB::Submit(const CCDDBSite& asked, const char* category, const char* email, const CCDDBRecord& record,
                  const char* note, bool test)
{
    ClearError();
    CCDDBSite site = asked;
    UpdateServer(site);
    if (!IsRequestWord(site.host) || !IsRequestWord(site.path))
        return Fail(netNotSupported, "The FreeDB server's host or path cannot stand in a request");
    const CString text = FormRecordText(record);
    CString request;
    if (proxyHost.IsEmpty())
        request.Format("POST %s HTTP/1.0\r\nCategory: ", site.path.GetString());
    else
        request.Format("POST http://%s HTTP/1.0\r\n%s\r\nCategory: ", (HostAndPort(site) + site.path).GetString(),
                       GetProxyHeader(site).GetString());
    request += HeaderText(category) + "\r\n";
    request.AppendFormat("Discid: %08x\r\n", record.discId);
    request.AppendFormat("User-Email: %s\r\n", HeaderText(email).GetString());
    request += test ? "Submit-Mode: test\r\n" : "Submit-Mode: submit\r\n";
    if (note && *note)
        request.AppendFormat("X-Cddbd-Note: %s\r\n", HeaderText(note).GetString());
    request.AppendFormat("Content-Length: %d\r\n\r\n", text.GetLength());
    request += text;
    std::string body;
    return Exchange(site, request, true, body) && ParseSubmitBody(body);
}
