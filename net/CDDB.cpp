// See CDDB.h: settings, disc identifiers, drives, the hello, Base64.
#include "CDDB.h"

#include "CDDrive.h"
#include "CueSheet.h"
#include "LocalTree.h"
#include "RecordReader.h"
#include "RecordText.h"
#include "Sockets.h"
#include "TextParts.h"

#include <cstring>

CCDDB::WriteLogCallback CCDDB::c_pWriteLogCallback = nullptr;
CCDDB::SelectMatchCallback CCDDB::c_pSelectMatchCallback;
CString CCDDB::c_szPublicServer = "gnudb.gnudb.org";
u32 CCDDB::c_nMaxResponseTime = 60'000;
u32 CCDDB::c_nMaxResponseSize = 16U << 20;
u32 CCDDB::c_nHTTPSTimeout = 5000;
bool CCDDB::c_bVerifyCertificates = false;
CString CCDDB::c_szLocalDBURL;
u64 CCDDB::c_nMaxUnpackedSize = u64{64} << 30;

CCDDB::CCDDB() = default;
CCDDB::~CCDDB() = default;

namespace {

/// A part of the hello: the parts are told apart by plus signs within a query string.
CString HelloPart(CString text)
{
    for (int i = 0; i < text.GetLength(); ++i) {
        const char c = text[i];
        if (c <= ' ' || c > '~' || std::strchr("&#+%?=", c))
            text.SetAt(i, '_');
    }
    return text;
}

CString NameOr(const std::string& name)
{
    return name.empty() ? "Unknown" : name.c_str();
}

} // namespace

// ---- Settings ----

void CCDDB::SetProxyDetails(const char* host, i32 port)
{
    proxyHost = host;
    proxyPort = port;
}

void CCDDB::ClearError()
{
    lastError = 0;
    errorMessage.Empty();
}

int CCDDB::Fail(u32 error, const char* message)
{
    lastError = error;
    errorMessage = message;
    return 0;
}

// ---- The hello ----

CString CCDDB::GetHelloCommand() const
{
    CString hello;
    hello.Format("hello=%s+%s+%s+%s&proto=%d", HelloPart(GetUserName()).GetString(),
                 HelloPart(GetHostName()).GetString(), HelloPart(productName).GetString(),
                 HelloPart(productVersion).GetString(), protocolLevel);
    return hello;
}

CString CCDDB::GetUserName() const
{
    return NameOr(NV::SystemUserName());
}

CString CCDDB::GetHostName() const
{
    return NameOr(NV::SystemHostName());
}

// ---- Disc identification ----

int CCDDB::cddb_sum(int n)
{
    int sum = 0;
    for (i64 rest = n < 0 ? -i64{n} : n; rest > 0; rest /= 10)
        sum += static_cast<int>(rest % 10);
    return sum;
}

u32 CCDDB::ComputeDiscID(const std::vector<CCDDBTrackPosition>& positions)
{
    if (positions.size() < 2)
        return 0;
    int sum = 0;
    for (std::size_t i = 0; i + 1 < positions.size(); ++i)
        sum += cddb_sum(positions[i].minutes * 60 + positions[i].seconds);
    const CCDDBTrackPosition& first = positions.front();
    const CCDDBTrackPosition& leadOut = positions.back();
    // Kept as is: the first track's minutes are not multiplied by 60. It matters only for discs whose first track
    // begins in minute 1 or later, and those stand in the databases under ids that were made this way.
    const int length = 60 * leadOut.minutes + leadOut.seconds - first.seconds - first.minutes;
    const u32 tracks = static_cast<u32>(positions.size() - 1);
    return static_cast<u32>(sum % 255) << 24 | static_cast<u32>(length) << 8 | tracks;
}

int CCDDB::GetTrackPositions(std::vector<CCDDBTrackPosition>& positions, const char* drive)
{
    positions.clear();
    std::vector<NV::DiscPosition> found;
    if (!NV::ReadCueSheet(drive, found) && !NV::ReadDiscPositions(drive, found))
        return 0;
    for (const NV::DiscPosition& at : found)
        positions.push_back({at.minutes, at.seconds, at.frames});
    return 1;
}

int CCDDB::ComputeDiscID(u32& discId, const char* drive)
{
    std::vector<CCDDBTrackPosition> positions;
    if (!GetTrackPositions(positions, drive))
        return 0;
    discId = ComputeDiscID(positions);
    return 1;
}

void CCDDB::GetCDROMDrives(std::vector<CString>& drives)
{
    drives.clear();
    for (const std::string& drive : NV::DiscDrives())
        drives.emplace_back(drive.c_str());
}

void CCDDB::UpdateServer(CCDDBSite& site)
{
    CString host = site.host;
    host.MakeLower();
    for (const char* const gone : {"freedb", "tracktype", "dbpoweramp"}) {
        if (host.Find(gone) >= 0)
            site.host = c_szPublicServer;
    }
}

// ---- The parts of an exchange ----

CString CCDDB::FormRecordText(const CCDDBRecord& record) const
{
    return NV::RecordText(record, productName, productVersion);
}

bool CCDDB::ParseRecord(const char* text, CCDDBRecord& record)
{
    return NV::ReadRecord(text, record);
}

CString CCDDB::EncodeBase64(const void* bytes, int count)
{
    static constexpr char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const u8* const from = static_cast<const u8*>(bytes);
    CString text;
    for (int i = 0; i < count; i += 3) {
        const int left = count - i;
        const u32 group = static_cast<u32>(from[i]) << 16 | (left > 1 ? static_cast<u32>(from[i + 1]) << 8 : 0) |
                          (left > 2 ? from[i + 2] : 0U);
        text += alphabet[group >> 18];
        text += alphabet[group >> 12 & 63U];
        text += left > 1 ? alphabet[group >> 6 & 63U] : '=';
        text += left > 2 ? alphabet[group & 63U] : '=';
    }
    return text;
}

int CCDDB::Base64BufferSize(int count)
{
    return (count + 2) / 3 * 4;
}
