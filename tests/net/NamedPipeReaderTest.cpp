// The named pipe by itself, written to by this process.
#include "NamedPipeReader.h"

#include "ScopedLock.h"
#include "platform/ProcessProbe.h"
#include "support/Noise.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <set>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

using NV::CNamedPipeReader;

namespace {

void WriteTo(const std::string& pipe, const std::string& bytes)
{
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(pipe.c_str(), "wb"), std::fclose);
    ASSERT_TRUE(file) << pipe;
    EXPECT_EQ(std::fwrite(bytes.data(), 1, bytes.size(), file.get()), bytes.size());
}

std::string TakeAll(CNamedPipeReader& reader)
{
    std::string bytes(static_cast<std::size_t>(reader.DataInBufferCount()), '\0');
    bytes.resize(static_cast<std::size_t>(reader.ReadData(bytes.data(), static_cast<int>(bytes.size()), false)));
    return bytes;
}

} // namespace

TEST(NamedPipeReader, MegabytesPassThroughASmallBuffer)
{
    const std::string sent = Noise(5, 3000000);
    std::string got; // the reader thread's, until it has ended
    std::atomic<std::size_t> arrived = 0;
    CNamedPipeReader reader("nvtest", 1000, [&](CNamedPipeReader& pipe) {
        char first = 0;
        EXPECT_TRUE(pipe.ReadData(&first, 1, true) == 0 || first == sent[got.size()]);
        got += TakeAll(pipe);
        arrived = got.size();
    });
    WriteTo(reader.GetName(), sent);
    while (arrived < sent.size())
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    reader.Finish();
    EXPECT_TRUE(got == sent);
}

TEST(NamedPipeReader, AConsumerMayBeSlowOrNeverCome)
{
    CNamedPipeReader reader("nvtest", 100, [](CNamedPipeReader&) { throw 1; });
    WriteTo(reader.GetName(), std::string(5000, 'x')); // fits into the pipe
    while (reader.DataInBufferCount() < 100)
        std::this_thread::yield();
    EXPECT_EQ(TakeAll(reader), std::string(100, 'x'));
    reader.Finish(); // with the buffer full again, or about to be
    EXPECT_LE(reader.DataInBufferCount(), 100);
}

TEST(NamedPipeReader, LastWordsAreHeardAndSilenceHoldsNobodyUp)
{
    const int handles = OpenHandleCount(), threads = ThreadCount();
    std::set<std::string> names;
    for (int round = 0; round < 50; ++round) {
        CNamedPipeReader silent("nvtest", 1000, {}), reader("nvtest", 1000, {});
        names.insert({silent.GetName(), reader.GetName()});
        WriteTo(reader.GetName(), "last words");
        reader.Finish();
        EXPECT_EQ(TakeAll(reader), "last words");
    }
    EXPECT_EQ(names.size(), 100U);
    EXPECT_TRUE(ThreadsFallTo(threads));
    EXPECT_LE(OpenHandleCount(), handles + SystemHandleCount());
    for (const std::string& name : names)
        EXPECT_FALSE(std::filesystem::exists(name)) << name;
}

TEST(NamedPipeReader, TheLockIsTakenOnceAndAPrefixThatIsNoNameFails)
{
    CNamedPipeReader reader("nvtest", 1000, {});
    const NV::ScopedLock locked(reader);
    EXPECT_THROW(reader.Lock(), std::system_error);
    EXPECT_THROW(CNamedPipeReader(std::string(5000, 'x'), 1000, {}), std::system_error);
}
