// The library as an application meets it: through what it exports, across the border of the shared library. Objects are
// made on one side and destroyed on the other, classes are derived here and called from there, and exceptions go both
// ways.
#include "BinFile.h"
#include "CDGAnalyzer.h"
#include "CDGRenderer.h"
#include "CDGScanner.h"
#include "DibDrawing.h"
#include "MP3Encoding.h"
#include "MP3OutFile.h"
#include "StreamInfo.h"
#include "WaveFile.h"
#include "Window.h"
#include "support/PackStream.h"
#include "support/TempFolder.h"

#include <afx.h>
#include <exception>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <thread>

namespace {

/// An application's own file: reads up to `failAt` bytes, then throws like a broken disk.
class BrokenFile : public CMemFile {
public:
    explicit BrokenFile(ULONGLONG failingFrom) : failAt(failingFrom) {}
    UINT Read(void* buffer, UINT count) override
    {
        if (GetPosition() + count > failAt)
            throw new CFileException(CFileException::hardIO, 23, "broken");
        return CMemFile::Read(buffer, count);
    }

private:
    ULONGLONG failAt;
};

/// Notices that it is destroyed on the way of an exception.
struct Witness {
    bool& passed;
    ~Witness() { passed = std::uncaught_exceptions() == 1; }
};

/// An application's own sink of sound.
class Sink : public CSoundFile {
public:
    std::vector<i16> samples;
    int Write(void* buffer, int frames) override
    {
        const i16* const from = static_cast<const i16*>(buffer);
        samples.insert(samples.end(), from, from + frames * GetChannels());
        return frames;
    }
};

/// An application's own window.
class View : public CWnd {
public:
    bool gone = false;

protected:
    void PostNcDestroy() override { gone = true; }
    void OnPaint()
    {
        CPaintDC dc(this);
        CDib picture;
        ASSERT_TRUE(picture.Create(20, 10, 32));
        CDibDrawing(picture).Line(CPoint(0, 0), CPoint(19, 9), RGB(1, 2, 3));
        EXPECT_TRUE(picture.Show(dc, picture.GetRect(), CPoint(0, 0)));
    }
    LRESULT OnUser(WPARAM wParam, LPARAM) { return static_cast<LRESULT>(wParam) + 1; }
    DECLARE_MESSAGE_MAP()
};

BEGIN_MESSAGE_MAP(View, CWnd)
ON_WM_PAINT()
ON_MESSAGE(WM_USER, &View::OnUser)
END_MESSAGE_MAP()

} // namespace

TEST(Exports, WindowsAreDerivedHereAndPaintedFromThere)
{
    ASSERT_TRUE(NV::ChooseWindows(NV::WindowKind::offScreen));
    WNDCLASS windowClass{};
    windowClass.lpfnWndProc = ::DefWindowProc;
    windowClass.hInstance = AfxGetInstanceHandle();
    windowClass.lpszClassName = "NVLibExportsTest";
    ASSERT_TRUE(AfxRegisterClass(&windowClass));
    View view;
    ASSERT_TRUE(
        view.CreateEx(0, windowClass.lpszClassName, "", WS_POPUP | WS_VISIBLE, CRect(0, 0, 20, 10), nullptr, 0));
    EXPECT_EQ(view.SendMessage(WM_USER, 4), 5);
    EXPECT_TRUE(NV::HandleWaitingMessages());
    CDib seen;
    ASSERT_TRUE(seen.CopyWindow(view));
    EXPECT_EQ(seen.GetPixelColor(19, 9), RGB(1, 2, 3));
    EXPECT_TRUE(view.DestroyWindow());
    EXPECT_TRUE(view.gone);
}

TEST(Exports, WithoutAnEncoderNothingIsWritten)
{
    CMP3OutFile file;
    if (file.IsEncoderAvailable())
        GTEST_SKIP() << "the encoder lies beside this program";
    const TempFolder folder;
    const std::string path = folder.Path("a.mp3");
    EXPECT_EQ(file.GetEncoderProblem().Find("there is no "), 0) << file.GetEncoderProblem();
    EXPECT_FALSE(file.InitLame());
    EXPECT_FALSE(file.Open(path.c_str(), CFile::modeCreate | CFile::modeWrite));
    i16 frame[2] = {};
    EXPECT_EQ(file.Write(frame, 1), 0);
    EXPECT_TRUE(file.Close());
    MP3EncodingJob job;
    job.open = [] { return std::make_unique<CSoundFile>(); };
    job.path = path.c_str();
    CMP3OutFile::InitBEConfig(&job.config);
    CString problem;
    EXPECT_EQ(EncodeMP3(job, &problem), MP3EncodingResult::noEncoder);
    EXPECT_EQ(problem, file.GetEncoderProblem());
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(Exports, ObjectsAreMadeThereAndDestroyedHere)
{
    for (CRuntimeClass* const made : {RUNTIME_CLASS(CSoundFile), RUNTIME_CLASS(CWaveFile), RUNTIME_CLASS(CBinFile)}) {
        const std::unique_ptr<CObject> object(made->CreateObject());
        ASSERT_TRUE(object) << made->m_lpszClassName;
        EXPECT_EQ(object->GetRuntimeClass(), made);
        EXPECT_EQ(CRuntimeClass::FromName(made->m_lpszClassName), made);
        EXPECT_TRUE(object->IsKindOf(RUNTIME_CLASS(CSoundFile)));
        EXPECT_TRUE(dynamic_cast<CSoundFile*>(object.get()));
        EXPECT_EQ(dynamic_cast<CBinFile*>(object.get()) != nullptr, made == RUNTIME_CLASS(CBinFile));
    }
    const CString text = CString("a") + "b" + 'c'; // memory that grew there
    EXPECT_EQ(text, "abc");
    CDGEmulator::CCDGEmulator emulator;
    emulator.Init();
    int size = 0;
    const std::unique_ptr<u8[]> snapshot = emulator.StoreState(size);
    EXPECT_TRUE(emulator.RestoreState(snapshot.get(), size));
    std::vector<CDGEmulator::ReplacementSweep> sweeps(3);
    for (CDGEmulator::ReplacementSweep& sweep : sweeps)
        sweep.packs.resize(100);
    emulator.SetReplacementSweeps(std::move(sweeps)); // taken over, so freed there
}

TEST(Exports, ClassesAreDerivedHereAndCalledFromThere)
{
    auto sink = std::make_unique<Sink>();
    double left[] = {1.5, -40000, 7}, right[] = {2, 3, 4};
    EXPECT_EQ(sink->WriteDoubles(left, right, 3), 3);
    EXPECT_EQ(sink->samples, (std::vector<i16>{2, 2, -32768, 3, 7, 4}));
    EXPECT_EQ(sink->GetRuntimeClass(), RUNTIME_CLASS(CSoundFile)) << "it declared no class information of its own";
    const std::unique_ptr<CObject> base = std::move(sink); // destroyed from its root on
}

TEST(Exports, ExceptionsOfTheFrameworkAreCaughtHere)
{
    const TempFolder folder;
    struct Case {
        const char* name;
        std::function<void()> work;
        int cause; // -1: a memory exception
    };
    const Case cases[] = {
        {"opening", [&] { CFile(folder.Path("none").c_str(), CFile::modeRead); }, CFileException::fileNotFound},
        {"a closed file", [] { CFile().GetLength(); }, CFileException::invalidFile},
        {"a function of the framework", [] { AfxThrowFileException(CFileException::diskFull); },
         CFileException::diskFull},
        {"memory that cannot grow", [] { CMemFile(0).Write("x", 1); }, -1},
        {"a class derived here", [] { BrokenFile(0).Read(nullptr, 1); }, CFileException::hardIO},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        for (int round = 0; round < 3; ++round) {
            bool passed = false;
            try {
                const Witness witness{passed};
                c.work();
                ADD_FAILURE() << "nothing was thrown";
            } catch (CFileException* e) {
                EXPECT_EQ(e->m_cause, c.cause);
                EXPECT_TRUE(static_cast<CException*>(e)->IsKindOf(RUNTIME_CLASS(CFileException)));
                e->Delete();
            } catch (CMemoryException* e) {
                EXPECT_EQ(c.cause, -1);
                e->Delete();
            }
            EXPECT_TRUE(passed);
            EXPECT_EQ(std::uncaught_exceptions(), 0);
        }
    }
}

TEST(Exports, ExceptionsPassOnFromCatchToCatchAndThreadToThread)
{
    std::exception_ptr kept;
    std::thread other([&] {
        try {
            try {
                AfxThrowFileException(CFileException::badSeek);
            } catch (CException*) {
                throw;
            }
        } catch (...) {
            kept = std::current_exception();
        }
    });
    other.join();
    try {
        std::rethrow_exception(kept);
    } catch (CFileException* e) {
        EXPECT_EQ(e->m_cause, CFileException::badSeek);
        e->Delete();
    }
}

TEST(Exports, ScansGoBothWays)
{
    const TempFolder folder;
    const std::vector<u8> packs = PackStream().Preset(0).Tile(2, 3, 1).Preset(0).Empty(6001).bytes;
    const std::string path = folder.Write("song.cdg", std::string(packs.begin(), packs.end()));
    CCDGScanner scanner;
    EXPECT_THROW(scanner.ScanFile(path.c_str(), nullptr), std::bad_function_call);
    ASSERT_TRUE(scanner.ScanFile(path.c_str(), [] { return false; }));
    const CCDGScanner copy = scanner;
    scanner.m_Screens.clear(); // memory from there
    EXPECT_EQ(copy.m_Screens.size(), 3u);
    unsigned char* thumbprint = nullptr;
    int size = 0;
    ASSERT_TRUE(CCDGScanner::GetCDGThumbprint(path.c_str(), thumbprint, size));
    EXPECT_EQ(CCDGScanner::GetCDGThumbprintDiff(thumbprint, size, thumbprint, size), 0);
    CCDGScanner::ReleaseCDGThumbprint(thumbprint);
    CMemFile file;
    file.Write(packs.data(), static_cast<UINT>(packs.size()));
    CCDGAnalyzer analyzer;
    EXPECT_TRUE(analyzer.ReadFromFile(&file, 2, [] { return false; }));
    analyzer.m_Packs.clear();
    EXPECT_EQ(analyzer.m_SnapshotImage.GetPixelIndex(20, 30), 1);
}

TEST(Exports, ExceptionsThrownHereAreCaughtThere)
{
    BrokenFile file(kPackSize);
    const std::vector<u8> bytes = PackStream().Preset(3).Preset(4).bytes;
    file.Write(bytes.data(), static_cast<UINT>(bytes.size()));
    file.SeekToBegin();
    CCDGInputFile input;
    input.Open(&file, true);
    CCDGEmulatorPack pack;
    EXPECT_TRUE(input.GetNextPack(pack));
    EXPECT_FALSE(input.GetNextPack(pack)) << "told as the end, like every failure to read";
    StreamIdentity identity;
    CFileException error;
    EXPECT_FALSE(IdentifyStream(file, identity, &error));
    EXPECT_EQ(error.m_cause, CFileException::hardIO);
}

TEST(Exports, ExceptionsOfACallbackPassThroughTheLibrary)
{
    const std::vector<u8> bytes = PackStream().Preset(3).Preset(4).Preset(5).Preset(6).bytes;
    CMemFile file;
    file.Write(bytes.data(), static_cast<UINT>(bytes.size()));
    file.SeekToBegin();
    CCDGInputFile input;
    input.Open(&file, true);
    CDGStreamInfo info;
    const auto enough = [](double) { throw std::runtime_error("enough"); };
    EXPECT_THROW(ScanCDGStream(input, info, enough), std::runtime_error);
    EXPECT_EQ(std::uncaught_exceptions(), 0);
    EXPECT_TRUE(ScanCDGStream(input, info)) << "and left it in order";
    EXPECT_EQ(info.packs, 4);
    const std::function<void()> nothing;
    EXPECT_THROW(nothing(), std::bad_function_call);
}
