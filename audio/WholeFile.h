// A new file that appears under its name only when it is whole, so that neither a failure nor a program that dies
// leaves half a file, and a file that is to be replaced is there until its successor is.
//
// The bytes go to a temporary file in the same folder. Meanwhile the name itself is claimed: opened so that nobody else
// in this program can use it, which also tells early that it is a folder, read-only or in use. One thread at a time.
#pragma once

#include <afx.h>
#include <string>

namespace NV {

class WholeFile {
public:
    WholeFile() = default;
    /// Without `Commit`, all is as it was before.
    ~WholeFile();
    WholeFile(const WholeFile&) = delete;
    WholeFile& operator=(const WholeFile&) = delete;

    /// Claims the name and opens the file for reading and writing. False when it cannot be had; nothing has changed
    /// then.
    bool Create(const char* path);
    /// For who wants the file under its own name at once: opens it with CFile's flags. It stays whatever happens.
    bool OpenInPlace(const char* path, UINT mode);
    /// Where to write. Its file calls throw.
    CFile& Bytes() { return direct ? claim : temporary; }
    /// What stands under the name until `Commit`, for reading; an empty file where there was none. A device has no
    /// before: it is what `Bytes` gives.
    CFile& Before() { return claim; }
    /// Closes the file, for who works on it by its present name before it is put in its place. False when the system
    /// tells of a loss.
    bool CloseBytes();
    const std::string& BytesPath() const { return direct ? target : temporaryPath; }
    /// Puts the file in its place. False when that fails; all is as it was before then.
    bool Commit();
    /// After `Commit`, and before anything else uses the file: removes it again if there was none of its name.
    void TakeBack();

private:
    void Abandon();

    std::string target;        // with links followed, so that a link is not replaced by a file
    std::string temporaryPath; // empty: none made, or in its place already
    CFile claim;
    CFile temporary;
    bool direct = false; // written to as it is: a device, or wanted so
    bool isNew = false;  // there was no file of the name
};

} // namespace NV
