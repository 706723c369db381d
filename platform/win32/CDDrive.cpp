// CDDrive.h over the Media Control Interface's device type "cdaudio".
#include "CDDrive.h"

#include <windows.h>

#include <mmsystem.h>

namespace NV {
namespace {

/// A drive that the interface has opened.
class Drive {
public:
    explicit Drive(const std::string& letter)
    {
        MCI_OPEN_PARMSA open{};
        open.lpstrDeviceType = "cdaudio";
        open.lpstrElementName = letter.c_str();
        isOpen = mciSendCommandA(0, MCI_OPEN, MCI_OPEN_TYPE | MCI_OPEN_ELEMENT | MCI_OPEN_SHAREABLE | MCI_WAIT,
                                 reinterpret_cast<DWORD_PTR>(&open)) == 0;
        device = open.wDeviceID;
    }
    ~Drive()
    {
        if (isOpen)
            mciSendCommandA(device, MCI_CLOSE, MCI_WAIT, 0);
    }
    Drive(const Drive&) = delete;
    Drive& operator=(const Drive&) = delete;

    explicit operator bool() const { return isOpen; }
    bool SetTimeFormat() const
    {
        MCI_SET_PARMS set{};
        set.dwTimeFormat = MCI_FORMAT_MSF;
        return mciSendCommandA(device, MCI_SET, MCI_SET_TIME_FORMAT | MCI_WAIT, reinterpret_cast<DWORD_PTR>(&set)) == 0;
    }
    bool Ask(DWORD item, DWORD track, DWORD& answer) const
    {
        MCI_STATUS_PARMS status{};
        status.dwItem = item;
        status.dwTrack = track;
        const DWORD flags = MCI_STATUS_ITEM | MCI_WAIT | (track != 0 ? MCI_TRACK : 0);
        if (mciSendCommandA(device, MCI_STATUS, flags, reinterpret_cast<DWORD_PTR>(&status)) != 0)
            return false;
        answer = static_cast<DWORD>(status.dwReturn);
        return true;
    }

private:
    MCIDEVICEID device = 0;
    bool isOpen = false;
};

DiscPosition PositionOf(DWORD msf)
{
    return {MCI_MSF_MINUTE(msf), MCI_MSF_SECOND(msf), MCI_MSF_FRAME(msf)};
}

int FramesOf(const DiscPosition& at)
{
    return (at.minutes * 60 + at.seconds) * 75 + at.frames;
}

} // namespace

bool ReadDiscPositions(const std::string& drive, std::vector<DiscPosition>& positions)
{
    positions.clear();
    const bool isLetter = drive.size() == 1 || (drive.size() <= 3 && drive[1] == ':');
    if (!isLetter)
        return false;
    const Drive opened(drive.substr(0, 1) + ":");
    DWORD count = 0;
    if (!opened || !opened.SetTimeFormat() || !opened.Ask(MCI_STATUS_NUMBER_OF_TRACKS, 0, count) || count < 1 ||
        count > 99)
        return false;
    DWORD at = 0;
    for (DWORD track = 1; track <= count; ++track) {
        if (!opened.Ask(MCI_STATUS_POSITION, track, at)) {
            positions.clear();
            return false;
        }
        positions.push_back(PositionOf(at));
    }
    DWORD length = 0;
    if (!opened.Ask(MCI_STATUS_LENGTH, count, length)) {
        positions.clear();
        return false;
    }
    // The interface leaves the last frame out of a disc's last track.
    const int end = FramesOf(positions.back()) + FramesOf(PositionOf(length)) + 1;
    positions.push_back({end / (60 * 75), end / 75 % 60, end % 75});
    return true;
}

std::vector<std::string> DiscDrives()
{
    std::vector<std::string> letters;
    const DWORD there = GetLogicalDrives();
    for (char letter = 'A'; letter <= 'Z'; ++letter) {
        const std::string root = std::string(1, letter) + ":\\";
        if ((there >> (letter - 'A') & 1U) && GetDriveTypeA(root.c_str()) == DRIVE_CDROM)
            letters.push_back(std::string(1, letter) + ":");
    }
    return letters;
}

} // namespace NV
