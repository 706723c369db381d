// Uncompressed pictures as a stream with times, for ffmpeg to read from a pipe.
//
// The stream is a Matroska file of one track. Only pictures that differ from the one before are in it, each with the
// number of the frame from which on it is to be seen; that is what bare pictures could not say.
#pragma once

#include "ConsoleOutputReader.h"
#include "Dib.h"
#include "NVTypes.h"

#include <string>
#include <vector>

namespace nvtool {

enum class PixelForm {
    BlueFirst, // four bytes a pixel: no loss
    Planes,    // brightness, then two planes of colour differences of half the size; 8 bits, BT.709, 16 to 235
};

// A picture in the form in which it goes out; brought up to date piece by piece.
class StreamPicture {
public:
    // Width and height are even.
    StreamPicture(int width, int height, PixelForm form);
    // Takes over a part of a picture of 32 bits and that size.
    void Take(const CDib& picture, CRect part);
    const std::vector<u8>& Bytes() const { return bytes; }

private:
    void TakePlanes(const CDib& picture, const CRect& part);

    int width, height;
    PixelForm form;
    std::vector<u8> bytes;
};

class VideoStream {
public:
    struct Shape {
        int width = 0, height = 0;
        PixelForm form = PixelForm::Planes;
        int rate = 30, perSeconds = 1; // frames in so many seconds
        i64 frames = 0;                // in all
    };
    // Writes the head.
    VideoStream(CConsoleOutputReader::Input& output, const Shape& shape);
    // A picture from frame `number` on; numbers go up. False when nobody reads any more.
    bool Write(i64 number, const StreamPicture& picture);

private:
    CConsoleOutputReader::Input& output;
    bool isOpen;
};

} // namespace nvtool
