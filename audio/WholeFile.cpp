// See WholeFile.h.
#include "WholeFile.h"

#include "FileCalls.h"
#include "FileReplace.h"

namespace NV {

WholeFile::~WholeFile()
{
    Abandon();
}

bool WholeFile::Create(const char* path)
{
    Abandon();
    CFileStatus status;
    isNew = !CFile::GetStatus(path, status);
    constexpr UINT claiming = CFile::modeCreate | CFile::modeNoTruncate | CFile::modeReadWrite | CFile::shareExclusive;
    if (!claim.Open(path, claiming))
        return false;
    target = path;
    if (const std::string final = FinalPath(path); !final.empty())
        target = final;
    direct = !IsPlainFile(target.c_str());
    if (direct)
        return true;
    const bool made = !MakeTemporaryBeside(target.c_str(), temporaryPath);
    if (made && temporary.Open(temporaryPath.c_str(), CFile::modeReadWrite | CFile::shareExclusive))
        return true;
    Abandon();
    return false;
}

bool WholeFile::OpenInPlace(const char* path, UINT mode)
{
    Abandon();
    direct = true;
    target = path;
    return claim.Open(path, mode) != FALSE;
}

bool WholeFile::CloseBytes()
{
    return Succeeds([&] { Bytes().Close(); });
}

bool WholeFile::Commit()
{
    bool whole = Succeeds([&] {
        temporary.Close(); // tells of a loss that the system noticed only now
        claim.Close();     // some systems do not replace a file that is open
    });
    if (whole && !direct)
        whole = !PutInPlace(temporaryPath.c_str(), target.c_str());
    if (whole)
        temporaryPath.clear();
    else
        Abandon();
    return whole;
}

void WholeFile::TakeBack()
{
    if (isNew && !direct)
        Succeeds([&] { CFile::Remove(target.c_str()); });
    isNew = false;
}

void WholeFile::Abandon()
{
    const bool pending = claim.m_hFile != CFile::hFileNull || !temporaryPath.empty();
    temporary.Abort();
    claim.Abort();
    if (!temporaryPath.empty())
        Succeeds([&] { CFile::Remove(temporaryPath.c_str()); });
    temporaryPath.clear();
    if (pending)
        TakeBack();
    isNew = false;
}

} // namespace NV
