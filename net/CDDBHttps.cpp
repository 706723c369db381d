// See CDDB.h: query and read over HTTPS, through libcurl.
#include "CDDB.h"

#include "CDDBLog.h"
#include "CDDBRequests.h"
#include "CurlHandle.h"
#include "Sockets.h"

#include <cstdio>

using namespace NV;

namespace {

struct Download {
    std::string body;
    std::size_t most;
    std::size_t WriteCallback(const char* bytes, std::size_t count)
    {
        if (count > most - body.size())
            return 0; // ends the transfer
        body.append(bytes, count);
        return count;
    }
    static std::size_t CurlWriteCallback(char* bytes, std::size_t size, std::size_t count, void* download)
    {
        return static_cast<Download*>(download)->WriteCallback(bytes, size * count);
    }
};

} // namespace

bool CCDDB::HttpsGet(const CString& url, std::string& body)
{
    Download download{{}, c_nMaxResponseSize};
    const CurlHandle curl(url);
    if (!curl)
        return Fail(netNotSupported, "Cannot connect to FreeDB server.");
    curl.Set(CURLOPT_TIMEOUT_MS, static_cast<long>(c_nHTTPSTimeout));
    curl.Set(CURLOPT_WRITEFUNCTION, &Download::CurlWriteCallback);
    curl.Set(CURLOPT_WRITEDATA, &download);
    // An empty proxy also keeps those out that the environment names.
    curl.Set(CURLOPT_PROXY, proxyHost.GetString());
    curl.Set(CURLOPT_PROXYPORT, static_cast<long>(proxyPort));
    if (!proxyUser.IsEmpty()) {
        curl.Set(CURLOPT_PROXYUSERNAME, proxyUser.GetString());
        curl.Set(CURLOPT_PROXYPASSWORD, proxyPassword.GetString());
    }
    const CURLcode result = curl.Perform();
    if (result != CURLE_OK) {
        std::fprintf(stderr, "curl_easy_perform() failed: %s\n", curl_easy_strerror(result));
        const bool late = result == CURLE_OPERATION_TIMEDOUT;
        return Fail(late ? netTimedOut : netNotSupported, "Cannot connect to FreeDB server.");
    }
    body = std::move(download.body);
    return true;
}

int CCDDB::QueryHTTP(const CCDDBSite& asked, u32 discId, const std::vector<CCDDBTrackPosition>& positions,
                     std::vector<CCDDBQueryResult>& results, bool discIdOnly)
{
    ClearError();
    results.clear();
    CCDDBSite site = asked;
    UpdateServer(site);
    CString url;
    url.Format("https://%s%s?cmd=cddb+query+%s&%s", site.host.GetString(), site.path.GetString(),
               QueryArguments(discId, positions, !discIdOnly).GetString(), GetHelloCommand().GetString());
    CDDBLog("CDDB request: " + url);
    std::string body;
    if (!HttpsGet(url, body))
        return 0;
    const bool parsed = ParseQueryBody(body, results);
    CDDBLog(parsed ? "Parsed correctly\n" : "Not parsed correctly\n");
    if (!parsed)
        CDDBLog("CDDB server did not respond correctly to the query command\n");
    return parsed;
}

int CCDDB::ReadHTTP(const CCDDBSite& asked, u32 discId, const char* category, CCDDBRecord& record, bool useComputedId)
{
    ClearError();
    record = CCDDBRecord();
    CCDDBSite site = asked;
    UpdateServer(site);
    CString url;
    url.Format("https://%s%s?cmd=cddb+read+%s+%08x&%s", site.host.GetString(), site.path.GetString(),
               RequestArgument(category).GetString(), discId, GetHelloCommand().GetString());
    CDDBLog("Request: " + url);
    std::string body;
    if (!HttpsGet(url, body))
        return 0;
    CDDBLog("FreeDB read:\n");
    CDDBLog(body.c_str());
    if (!ParseRecordBody(body, record))
        return Fail(netNotSupported, "Cannot read from FreeDB server.");
    record.category = category;
    if (useComputedId && record.discId != discId) {
        CString message;
        message.Format("Returned DiscID from CDDB read (%x) is different than the computed value (%x), using the "
                       "computed value\n",
                       record.discId, discId);
        CDDBLog(message);
        record.discId = discId;
    }
    return 1;
}
