// A wave device that finishes blocks when the test says so, fails on demand and keeps book of every call. While one
// stands, CWaveOut plays on it.
#pragma once

#include "audio/WaveDevice.h"

#include <deque>
#include <map>
#include <mutex>
#include <set>
#include <string>

class FakeWaveDevice : public NV::IWaveDevice {
public:
    FakeWaveDevice() { NV::UseWaveDevice(this); }
    ~FakeWaveDevice() override { NV::UseWaveDevice(nullptr); }

    /// Has the `call`-th coming call of that name ("open", "prepare", "write", "reset") fail.
    void FailNext(const std::string& name, int call = 1)
    {
        const std::lock_guard hold(mutex);
        failures[name] = call;
    }
    /// The oldest block has been heard. False when there is none.
    bool FinishOneBlock()
    {
        const std::lock_guard one(returning); // a reset does not overtake it
        WAVEHDR* block = nullptr;
        {
            const std::lock_guard hold(mutex);
            if (queue.empty())
                return false;
            block = queue.front();
            queue.pop_front();
            block->dwFlags |= WHDR_DONE;
        }
        Tell(WOM_DONE, block);
        return true;
    }
    int Count(const std::string& name)
    {
        const std::lock_guard hold(mutex);
        return counts[name];
    }
    std::size_t Waiting()
    {
        const std::lock_guard hold(mutex);
        return queue.size();
    }
    WAVEHDR* Block(std::size_t index)
    {
        const std::lock_guard hold(mutex);
        return queue.at(index);
    }
    /// What was written, in order.
    std::string Heard()
    {
        const std::lock_guard hold(mutex);
        return heard;
    }
    bool finishAtOnce = false; ///< Before `Write` returns.
    bool keepBlocks = false;   ///< A reset returns nothing.

    UINT Count() override { return 1; }
    MMRESULT Open(HWAVEOUT& device, const WAVEFORMATEX& newFormat, DWORD_PTR call, DWORD_PTR user) override
    {
        if (Fails("open"))
            return MMSYSERR_ALLOCATED;
        callback = reinterpret_cast<Callback*>(call);
        instance = user;
        {
            const std::lock_guard hold(mutex);
            format = newFormat;
        }
        device = Handle();
        Tell(WOM_OPEN, nullptr);
        return MMSYSERR_NOERROR;
    }
    MMRESULT Prepare(HWAVEOUT, WAVEHDR& header) override
    {
        if (Fails("prepare"))
            return MMSYSERR_NOMEM;
        const std::lock_guard hold(mutex);
        prepared.insert(&header);
        return MMSYSERR_NOERROR;
    }
    MMRESULT Unprepare(HWAVEOUT, WAVEHDR& header) override
    {
        if (Fails("unprepare"))
            return WAVERR_STILLPLAYING;
        const std::lock_guard hold(mutex);
        prepared.erase(&header);
        std::erase(queue, &header);
        return MMSYSERR_NOERROR;
    }
    MMRESULT Write(HWAVEOUT, WAVEHDR& header) override
    {
        if (Fails("write"))
            return MMSYSERR_NODRIVER;
        {
            const std::lock_guard hold(mutex);
            heard.append(header.lpData, header.dwBufferLength);
            queue.push_back(&header);
        }
        if (finishAtOnce)
            FinishOneBlock();
        return MMSYSERR_NOERROR;
    }
    MMRESULT Reset(HWAVEOUT) override
    {
        if (Fails("reset"))
            return MMSYSERR_ERROR;
        while (!keepBlocks && FinishOneBlock()) {
        }
        const std::lock_guard settled(returning);
        return MMSYSERR_NOERROR;
    }
    MMRESULT Close(HWAVEOUT) override
    {
        Fails("close");
        Tell(WOM_CLOSE, nullptr);
        const std::lock_guard hold(mutex);
        queue.clear();
        prepared.clear();
        return MMSYSERR_NOERROR;
    }
    MMRESULT ErrorText(MMRESULT, char* text, UINT size) override
    {
        text[size - 1] = '\0'; // all of it is the callee's
        return MMSYSERR_NOERROR;
    }
    WAVEFORMATEX Format()
    {
        const std::lock_guard hold(mutex);
        return format;
    }

private:
    using Callback = void CALLBACK(HWAVEOUT, UINT, DWORD_PTR, DWORD_PTR, DWORD_PTR);

    HWAVEOUT Handle() { return reinterpret_cast<HWAVEOUT>(this); }
    void Tell(UINT message, WAVEHDR* block)
    {
        callback(Handle(), message, instance, reinterpret_cast<DWORD_PTR>(block), 0);
    }
    bool Fails(const std::string& name)
    {
        const std::lock_guard hold(mutex);
        ++counts[name];
        const auto found = failures.find(name);
        return found != failures.end() && --found->second == 0;
    }

    std::mutex mutex, returning;
    std::deque<WAVEHDR*> queue;
    std::set<WAVEHDR*> prepared;
    std::map<std::string, int> counts, failures;
    std::string heard;
    WAVEFORMATEX format{};
    Callback* callback = nullptr;
    DWORD_PTR instance = 0;
};
