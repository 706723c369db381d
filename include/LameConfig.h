// The settings of the MP3 encoder, laid out to the byte as its module takes them, and the module's entry points.
#pragma once

#include <afx.h>

using BE_ERR = DWORD;     ///< 0: all is well.
using HBE_STREAM = void*; ///< One encoder at work.

constexpr BE_ERR BE_ERR_SUCCESSFUL = 0;
constexpr BE_ERR BE_ERR_INVALID_FORMAT = 1;
constexpr BE_ERR BE_ERR_INVALID_FORMAT_PARAMETERS = 2;
constexpr BE_ERR BE_ERR_INVALID_HANDLE = 4;
constexpr BE_ERR BE_ERR_BUFFER_TOO_SMALL = 5;

constexpr DWORD BE_CONFIG_LAME = 256;

// What nMode may be.
constexpr LONG BE_MP3_MODE_STEREO = 0;
constexpr LONG BE_MP3_MODE_JSTEREO = 1;
constexpr LONG BE_MP3_MODE_DUALCHANNEL = 2;
constexpr LONG BE_MP3_MODE_MONO = 3;

// What nVbrMethod may be.
constexpr LONG VBR_METHOD_NONE = -1;
constexpr LONG VBR_METHOD_DEFAULT = 0;
constexpr LONG VBR_METHOD_OLD = 1;
constexpr LONG VBR_METHOD_NEW = 2;
constexpr LONG VBR_METHOD_MTRH = 3;
constexpr LONG VBR_METHOD_ABR = 4;

#pragma pack(push, 1)
/// Version 1 of the settings; rates in Hz, bit rates in kbit/s unless a name says otherwise.
struct BE_CONFIG_LHV1 {
    DWORD dwStructVersion; ///< 1
    DWORD dwStructSize;    ///< Of BE_CONFIG.
    DWORD dwSampleRate;    ///< Of the samples that come in.
    DWORD dwReSampleRate;  ///< Of the MP3; 0: the encoder decides.
    LONG nMode;
    DWORD dwBitrate;    ///< Constant, or the least with a variable one.
    DWORD dwMaxBitrate; ///< With a variable bit rate.
    LONG nPreset;       ///< -1: none.
    DWORD dwMpegVersion;
    DWORD dwPsyModel;
    DWORD dwEmphasis;
    BOOL bPrivate;
    BOOL bCRC;
    BOOL bCopyright;
    BOOL bOriginal;
    BOOL bWriteVBRHeader; ///< The file begins with a frame that tells its length and an index of it.
    BOOL bEnableVBR;
    INT nVBRQuality;    ///< 0, the best, to 9.
    DWORD dwVbrAbr_bps; ///< Average bits a second; not 0: instead of the quality.
    LONG nVbrMethod;    ///< 32 bits wide.
    BOOL bNoRes;        ///< No frame uses room that an earlier one left.
    BOOL bStrictIso;
    WORD nQuality; ///< Of the encoder's search, 0 (slow) to 9; counts only when the high byte is its complement.
    BYTE btReserved[255 - 4 * 4 - 2];
};

struct BE_CONFIG {
    DWORD dwConfig; ///< BE_CONFIG_LAME
    union {
        BE_CONFIG_LHV1 LHV1;
    } format;
};

struct BE_VERSION {
    BYTE byDLLMajorVersion, byDLLMinorVersion; ///< Of the module.
    BYTE byMajorVersion, byMinorVersion;       ///< Of the encoder in it.
    BYTE byDay, byMonth;
    WORD wYear;
    char zHomepage[129];
    BYTE byAlphaLevel, byBetaLevel, byMMXEnabled;
    BYTE btReserved[125];
};
#pragma pack(pop)

static_assert(sizeof(BE_CONFIG) == 331 && offsetof(BE_CONFIG_LHV1, nQuality) == 88);

/// What a module of the encoder has to export, by these names. Those that give bytes need room for as many as
/// beInitStream told; counts of samples are of single 16-bit values, channels in turn.
struct LameEntries {
    BE_ERR (*beInitStream)(BE_CONFIG* config, DWORD* chunkSamples, DWORD* outputBytes, HBE_STREAM* stream);
    BE_ERR (*beEncodeChunk)(HBE_STREAM stream, DWORD samples, short* from, BYTE* output, DWORD* outputBytes);
    BE_ERR (*beDeinitStream)(HBE_STREAM stream, BYTE* output, DWORD* outputBytes);
    BE_ERR (*beCloseStream)(HBE_STREAM stream);
    void (*beVersion)(BE_VERSION* version);
    /// Of the stream closed last: fills in the frame that the file begins with.
    BE_ERR (*beWriteVBRHeader)(const char* path);
    /// The same of a given stream; older modules do not have it.
    BE_ERR (*beWriteInfoTag)(HBE_STREAM stream, const char* path);
};
