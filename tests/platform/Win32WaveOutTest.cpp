// Wave output on Win32, through CWaveOut: what a sound device is given is what was played, sample for sample. Whoever
// runs this sees to a device that records, and says where (NVLIB_SOUND_RECORDING).
#include "support/RecordedSound.h"
#include "support/WholeFile.h"

#include <cstdlib>

namespace {

TEST(Win32WaveOut, DeviceIsGivenEverySample)
{
    const char* const recording = std::getenv("NVLIB_SOUND_RECORDING");
    if (!recording)
        GTEST_SKIP() << "the sound device does not record";
    ExpectEverySampleToArrive(true, [recording] { return WholeFile(recording); });
}

} // namespace
