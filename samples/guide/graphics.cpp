// The graphics of a karaoke track: its screens, the picture at a time, and whether two files show the same.
//
//   graphics TRACK.cdg OTHER
#include "CDGRenderer.h"
#include "CDGScanner.h"

#include <cstdio>

int main(int argc, char** argv)
{
    if (argc != 3)
        return 2;

    // Screens and their text lines, in one pass over the file. The callback says when to give up.
    CCDGScanner scanner;
    if (!scanner.ScanFile(argv[1], [] { return false; }))
        return 1;
    for (const CDGScreenInfo& screen : scanner.m_Screens)
        std::printf("up to pack %d, text lines: %zu\n", screen.lastPack, screen.lines.size());

    // The picture at any time. Going back is as quick as going on: the renderer keeps snapshots as it plays.
    CCDGRenderer renderer;
    if (!renderer.Open(argv[1], nullptr, true))
        return 1;
    for (const double seconds : {renderer.GetDuration() / 2, 3.0}) {
        const CDib* picture = renderer.GetFrame(seconds);
        std::printf("%.1f s: the middle of the screen is %06x\n", seconds,
                    static_cast<unsigned>(picture->GetPixelColor(150, 108)));
    }

    // Thumbprints are small enough to be kept for thousands of files.
    unsigned char *mine = nullptr, *others = nullptr;
    int mySize = 0, othersSize = 0;
    if (!CCDGScanner::GetCDGThumbprint(argv[1], mine, mySize))
        return 1;
    if (CCDGScanner::GetCDGThumbprint(argv[2], others, othersSize))
        std::printf("pixels that differ: %d\n", CCDGScanner::GetCDGThumbprintDiff(mine, mySize, others, othersSize));
    CCDGScanner::ReleaseCDGThumbprint(mine);
    CCDGScanner::ReleaseCDGThumbprint(others);
    return 0;
}
