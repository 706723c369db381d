// CSoundFile's log: one line an event, the file opened and closed for each, so that nothing is lost when a program
// dies.
#include "SoundFile.h"

#include "FileCalls.h"
#include "ScopedLock.h"

#include <afxmt.h>
#include <chrono>

namespace {

CCriticalSection logLock;

/// The moment in UTC, "2024-02-29 23:59:58.123".
CString TimeStamp()
{
    using namespace std::chrono;
    const auto now = floor<milliseconds>(system_clock::now());
    const auto day = floor<days>(now);
    const year_month_day date(day);
    const hh_mm_ss time(now - day);
    CString text;
    text.Format("%04d-%02u-%02u %02d:%02d:%02d.%03d", static_cast<int>(date.year()),
                static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                static_cast<int>(time.seconds().count()), static_cast<int>(time.subseconds().count()));
    return text;
}

void AppendLine(const CString& path, const CString& line)
{
    CFile file;
    constexpr UINT flags = CFile::modeCreate | CFile::modeNoTruncate | CFile::modeWrite | CFile::shareDenyNone;
    if (!file.Open(path, flags))
        return;
    NV::Succeeds([&] {
        file.SeekToEnd();
        file.Write(line.GetString(), static_cast<UINT>(line.GetLength()));
        file.Close();
    });
}

} // namespace

bool CSoundFile::c_bEnableLog = false;
CString CSoundFile::c_szLogFileName;
CCriticalSection* CSoundFile::c_pLogCritSec = &logLock;

void CSoundFile::Log(const char* event, const char* name, const char* detail)
{
    if (!c_bEnableLog || c_szLogFileName.IsEmpty())
        return;
    CString line = TimeStamp() + "  " + event + "  " + name;
    if (*detail != 0)
        line = line + "  " + detail;
    line += "\n";
    if (!c_pLogCritSec) {
        AppendLine(c_szLogFileName, line);
        return;
    }
    const NV::ScopedLock lock(*c_pLogCritSec);
    AppendLine(c_szLogFileName, line);
}
