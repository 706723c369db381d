// The CDDB client: which disc is this? Disc identifiers, the commands of CDDB servers over HTTP and HTTPS, a local copy
// of the database, submission.
//
// Places on a disc are in frames (75 a second) with the lead-in counted, lengths in seconds, times to wait in
// milliseconds. One object belongs to one thread at a time, and its commands block; the static settings are shared by
// all objects and set before use.
//
//   CDDB.cpp                   settings, disc identifiers, drives, the hello
//   CDDBCommands.cpp           the commands over a socket
//   CDDBHttps.cpp              query and read over HTTPS
//   CDDBBodies.cpp             answers taken apart
//   CDDBLocal.cpp              the local database
//   CDDBLocalDB.cpp            fetching and unpacking it
//   CDDBInfo.cpp               everything at once
//   FreeDBSelectCDDialog.cpp   which of several matches
#pragma once

#include "CDDBTypes.h"
#include "HTTPSocket.h"
#include "NVExport.h"
#include "NVTypes.h"

#include <afx.h>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace NV {
class LocalTree;
}

class NVLIB_API CCDDB {
public:
    using WriteLogCallback = void (*)(const char* text);
    using SelectMatchCallback = std::function<int(const std::vector<CCDDBQueryResult>& matches)>;
    /// Gets 0 to 1.
    using ProgressCallback = std::function<void(double)>;
    /// Returns true to stop.
    using CancelCallback = std::function<bool()>;

    // ---- Settings of all clients ----

    /// Gets every line of the log; null: no log.
    static WriteLogCallback c_pWriteLogCallback;
    /// Asked when a disc has several matches: gives the index of the chosen one, or a negative number for none of them.
    /// Empty: the user picks one in a dialog over the calling thread's main window; where the calling thread has no
    /// window, or windows are off-screen ones, the first one is taken.
    static SelectMatchCallback c_pSelectMatchCallback;
    /// The public server that stands in for those that are gone, "gnudb.gnudb.org".
    static CString c_szPublicServer;
    /// No command over a socket takes longer than this from its first byte on, however the server drips; 60,000.
    static u32 c_nMaxResponseTime;
    /// Longer answers are refused, over HTTPS too; 16 MiB.
    static u32 c_nMaxResponseSize;
    /// The longest that a request over HTTPS takes as a whole; 5000.
    static u32 c_nHTTPSTimeout;
    /// Whether HTTPS demands a certificate that the system trusts and that is the server's. Off: public servers have
    /// let theirs run out for months, titles are no secret, and a wrong title does no harm. Turn it on where the
    /// machine has up-to-date certificates and the network is not to be trusted: without it anybody on the way can read
    /// which discs are asked for, give false titles, and swap the archive that `DownloadLocalDB` fetches.
    static bool c_bVerifyCertificates;
    /// Where `DownloadLocalDB` fetches the archive, with http: or https:. Empty at first: there is no server that is
    /// certain to have it for years to come, so the application says.
    static CString c_szLocalDBURL;
    /// What an archive may unpack to, in bytes; 64 GiB.
    static u64 c_nMaxUnpackedSize;

    // ---- Virtual operations; the order of the slots is part of the interface ----

    /// The end of every command's query string: "hello=user+host+product+version&proto=level".
    virtual CString GetHelloCommand() const;
    /// The user's and the machine's name for the hello; "Unknown" when the system does not tell. What cannot stand in a
    /// hello (blanks, controls, bytes that are not ASCII and & # + % ? =) becomes an underscore there.
    virtual CString GetUserName() const;
    virtual CString GetHostName() const;
    /// Receives an answer until the other end closes or, with `checkTerminator`, until it is whole: its body ends with
    /// `terminator`, or its code says that no list follows and its line is complete. `buffer` begins with room for
    /// `initialSize` bytes. False when the connection fails or nothing but a head came (last error 10043, or 10060 when
    /// the server took longer than the time-out for one piece or than `c_nMaxResponseTime` for all of it).
    virtual bool ReadResponse(CHTTPSocket& socket, const char* terminator, std::string& buffer, int initialSize,
                              bool checkTerminator);

    CCDDB();
    virtual ~CCDDB();
    CCDDB(const CCDDB&) = delete;
    CCDDB& operator=(const CCDDB&) = delete;

    // ---- Settings of this client ----

    /// For people; empty after a success.
    CString GetErrorMessage() const { return errorMessage; }
    /// 0 after a success; else a number of Windows' sockets: 10060 too slow, 10043 no proper answer.
    u32 GetLastError() const { return lastError; }
    /// The longest wait for connecting, for sending and for each piece of an answer; 2000 at first.
    void SetTimeout(u32 milliseconds) { timeout = milliseconds; }
    u32 GetTimeout() const { return timeout; }
    /// The client's name and version as servers and submitted records have them.
    void SetProductName(const char* name) { productName = name; }
    CString GetProductName() const { return productName; }
    void SetProductVersion(const char* version) { productVersion = version; }
    CString GetProductVersion() const { return productVersion; }
    /// A proxy for HTTP; HTTPS goes through it as a tunnel. An empty host: none.
    void SetProxyHost(const char* host) { proxyHost = host; }
    void SetProxyDetails(const char* host, i32 port);
    /// For Basic authorisation; an empty user: none.
    void SetProxyUser(const char* user) { proxyUser = user; }
    void SetProxyPassword(const char* password) { proxyPassword = password; }

    // ---- Disc identification ----

    /// The sum of the decimal digits of `n`; a sign does not count.
    static int cddb_sum(int n);
    /// The id of a disc; `positions` are its tracks and the lead-out. 0 for fewer than two entries.
    static u32 ComputeDiscID(const std::vector<CCDDBTrackPosition>& positions);
    /// The table of contents of the disc in a drive or of an image. `drive` is a letter ("D" or "D:") on Windows and a
    /// device ("/dev/sr0") elsewhere; on both the name of a cue sheet, on Linux also of a .toc or .nrg image. Zero, and
    /// nothing in `positions`, when there is no disc.
    static int GetTrackPositions(std::vector<CCDDBTrackPosition>& positions, const char* drive);
    /// The id of the disc in a drive. Zero when there is none.
    static int ComputeDiscID(u32& discId, const char* drive);
    /// The CD drives of this machine, as `GetTrackPositions` takes them.
    static void GetCDROMDrives(std::vector<CString>& drives);

    // ---- Commands of a server ----
    //
    // Each returns nonzero on success. On a failure the array or record is empty, `GetLastError` and `GetErrorMessage`
    // tell why, and the client can be used again. Sites whose services are gone are replaced by `c_szPublicServer`.

    int Sites(std::vector<CCDDBSite>& sites, const CCDDBSite& site);
    int Categories(const CCDDBSite& site, std::vector<CString>& categories);
    int Status(const CCDDBSite& site, CCDDBStatus& status);
    /// The message as it was sent, up to its closing dot.
    int MessageOfTheDay(const CCDDBSite& site, CString& text);
    /// The matches for a disc; none is a success too. With `discIdOnly` a direct request carries the id alone, others
    /// everything, the length as 0.
    int Query(const CCDDBSite& site, u32 discId, const std::vector<CCDDBTrackPosition>& positions,
              std::vector<CCDDBQueryResult>& results, bool discIdOnly = false);
    /// The same over HTTPS; a port other than 443 is written into the host ("host:8443").
    int QueryHTTP(const CCDDBSite& site, u32 discId, const std::vector<CCDDBTrackPosition>& positions,
                  std::vector<CCDDBQueryResult>& results, bool discIdOnly = false);
    int Read(const CCDDBSite& site, u32 discId, const char* category, CCDDBRecord& record);
    /// The same over HTTPS. With `useComputedId` a record that has another id gets `discId`.
    int ReadHTTP(const CCDDBSite& site, u32 discId, const char* category, CCDDBRecord& record,
                 bool useComputedId = true);
    /// Sends a record to the site's path (of a site made for submission). Nonzero when it was accepted; otherwise
    /// `GetErrorMessage` is what the server said. With `test` the server only checks it.
    int Submit(const CCDDBSite& site, const char* category, const char* email, const CCDDBRecord& record,
               const char* note = "", bool test = false);

    /// Replaces the host of a site whose service is gone: one with "freedb", "tracktype" or "dbpoweramp" in its name.
    static void UpdateServer(CCDDBSite& site);

    // ---- The local database: a folder with a folder for each category, which holds xmcd records ----
    //
    // A record is a file of its own, named by its id, or a part of a file that holds a range of ids ("10to1F"). Names
    // match without case; folders are visited in sorted order. A client that is asked again about the same folder keeps
    // a list of its names and what it compared of their records, brought up to date when a folder's time changes; a
    // record that is written over in place is seen when it is among the answers.

    /// The records for a disc whose id may be off by up to 16 in its first byte: the one with the same number of tracks
    /// whose offsets fit best, then the others with its id or the one asked for. Nonzero when there is one.
    int QueryLocal(const char* folder, u32 discId, const std::vector<i32>& frameOffsets,
                   std::vector<CCDDBRecord>& records);
    /// The record of an id, from the first category that has it. With `exactFile` from a file of its own, otherwise
    /// from a range file. Nonzero when there is one.
    int Read(const char* folder, u32 discId, bool exactFile, CCDDBRecord& record, CString& category);
    /// Stores a record as a file of its own, the text that `Submit` sends. The folders are made when they are missing.
    /// Nonzero on success; otherwise all is as it was. A category is a plain name.
    int WriteLocal(const char* folder, const char* category, const CCDDBRecord& record);

    /// Whether the local database's folder is there.
    static bool CheckForLocalDB();
    /// The folder of the local database: the user's setting "LocalDBPath" (Windows: a value of the registry key
    /// "Software\Varnel\FreeDB"; elsewhere a line of Varnel/FreeDB.conf in the user's configuration folder), or without
    /// one "LocalCDDatabase" where this user's programs keep their data.
    static CString GetLocalDBPath();
    /// Fetches `c_szLocalDBURL` as "freedbkar.7z" into `folder` (null: where this user's programs keep their data) and
    /// gives the file's name; empty on a failure and when stopped. What has come by then stays beside it, and the next
    /// call goes on from there unless the server's file has changed. An archive that does not begin like one is
    /// removed.
    static CString DownloadLocalDB(const char* folder = nullptr, const ProgressCallback& progress = {},
                                   const CancelCallback& cancelled = {});
    /// Unpacks an archive into the folder "LocalCDDatabase" in `destination` and makes that folder the user's setting.
    /// Files that are there already are replaced, others stay. Nonzero on success. When it fails, is stopped, or the
    /// archive holds a name that would lead out of the folder, nothing has changed.
    static int UnpackLocalDB(const char* archive, const char* destination, const ProgressCallback& progress = {},
                             const CancelCallback& cancelled = {});

    // ---- Everything at once ----

    /// What is known of a disc, as the text of an xmcd record: from the local database when `localFolder` is given and
    /// has it, otherwise from the server `host` (null: the public one). `frameOffsets` has `trackCount` entries.
    /// `drive` is asked for the lead-out; without a disc there it is taken from the id. With fewer than one track, and
    /// when nothing is found, `text` is returned as it is.
    CString ReadFreeDBInfo(const char* drive, u32 discId, const std::vector<i32>& frameOffsets, int trackCount,
                           const char* localFolder, const char* host = nullptr, const char* text = "");

    // ---- The parts of an exchange ----

    /// The text of a record as it is stored and submitted.
    CString FormRecordText(const CCDDBRecord& record) const;
    /// Reads a whole record. False when it is not valid: the header, an offset, the length, the client, the id and the
    /// title must all be there. `record` is empty then.
    bool ParseRecord(const char* text, CCDDBRecord& record);

    /// What the commands do with the body of an answer, its line with the code included. False, with the last error and
    /// the message set, when it is not what a server answers.
    bool ParseQueryBody(const std::string& body, std::vector<CCDDBQueryResult>& results);
    bool ParseSitesBody(const std::string& body, std::vector<CCDDBSite>& sites);
    bool ParseCategoriesBody(const std::string& body, std::vector<CString>& categories);
    bool ParseStatusBody(const std::string& body, CCDDBStatus& status);
    bool ParseMessageBody(const std::string& body, CString& text);
    bool ParseRecordBody(const std::string& body, CCDDBRecord& record);
    bool ParseSubmitBody(const std::string& body);

    /// Base64 with padding.
    static CString EncodeBase64(const void* bytes, int count);
    /// Characters that `EncodeBase64` gives for so many bytes.
    static int Base64BufferSize(int count);

private:
    void ClearError();
    int Fail(u32 error, const char* message);
    CString GetProxyHeader(const CCDDBSite& site) const;
    CString QueryArguments(u32 discId, const std::vector<CCDDBTrackPosition>& positions, bool withLength) const;
    bool Exchange(const CCDDBSite& site, const CString& request, bool checkTerminator, std::string& body);
    bool Command(CCDDBSite& site, const CString& command, std::string& body);
    bool HttpsGet(const CString& url, std::string& body);

    NV::LocalTree& TreeFor(const char* folder);
    CString ReadOnline(const char* drive, u32 discId, const std::vector<i32>& frameOffsets, const CCDDBSite& site);

    CString errorMessage;
    u32 lastError = 0;
    u32 timeout = 2000;
    CString productName = "Flomior";
    CString productVersion = "1.27";
    i32 protocolLevel = 5;
    CString proxyHost;
    i32 proxyPort = 80;
    CString proxyUser;
    CString proxyPassword;
    std::unique_ptr<NV::LocalTree> tree;
};
