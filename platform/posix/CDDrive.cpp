// CDDrive.h over libcdio, which reads drives and image files alike.
#include "CDDrive.h"

#include "NrgCheck.h"

#include <cdio/cdio.h>
#include <cdio/logging.h>

#include <cctype>
#include <memory>
#include <mutex>

namespace NV {
namespace {

using Disc = std::unique_ptr<CdIo_t, decltype(&cdio_destroy)>;

/// The library's own handler prints, and ends the program when an image is damaged.
void Silence()
{
    static std::once_flag once;
    std::call_once(once, [] { cdio_log_set_handler([](cdio_log_level_t, const char*) {}); });
}

/// Images are opened as what their names say: tried in turn, one of the library's readers takes anything for an image.
driver_id_t DriverFor(const std::string& drive)
{
    const std::size_t dot = drive.rfind('.');
    std::string ending = dot == std::string::npos ? "" : drive.substr(dot + 1);
    for (char& c : ending)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    if (ending == "cue")
        return DRIVER_BINCUE;
    if (ending == "toc")
        return DRIVER_CDRDAO;
    if (ending == "nrg")
        return DRIVER_NRG;
    return DRIVER_DEVICE;
}

} // namespace

bool ReadDiscPositions(const std::string& drive, std::vector<DiscPosition>& positions)
{
    positions.clear();
    Silence();
    const driver_id_t driver = DriverFor(drive);
    if (driver == DRIVER_NRG && !IsSoundNrg(drive))
        return false;
    const Disc disc(cdio_open(drive.c_str(), driver), &cdio_destroy);
    if (!disc)
        return false;
    const track_t first = cdio_get_first_track_num(disc.get());
    const track_t count = cdio_get_num_tracks(disc.get());
    if (first == CDIO_INVALID_TRACK || count == CDIO_INVALID_TRACK || count < 1 || count > 99)
        return false;
    for (int i = 0; i <= count; ++i) {
        const int number = i < count ? first + i : int{CDIO_CDROM_LEADOUT_TRACK};
        const lba_t at = cdio_get_track_lba(disc.get(), static_cast<track_t>(number)); // lead-in included
        if (at < 0 || at == CDIO_INVALID_LBA) {
            positions.clear();
            return false;
        }
        positions.push_back({at / (60 * 75), at / 75 % 60, at % 75});
    }
    return true;
}

std::vector<std::string> DiscDrives()
{
    Silence();
    std::vector<std::string> names;
    char** const found = cdio_get_devices(DRIVER_DEVICE);
    for (char** at = found; at && *at; ++at)
        names.emplace_back(*at);
    if (found)
        cdio_free_device_list(found);
    return names;
}

} // namespace NV
