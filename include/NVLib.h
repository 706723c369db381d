// Every class that the library hands out.
#pragma once

#include "BinFile.h"
#include "Buffer.h"
#include "CDGEmulator.h"
#include "CDGEmulatorPack.h"
#include "CDGInputFile.h"
#include "CDGRenderer.h"
#include "CyclicBuffer.h"
#include "Dib.h"
#include "FifoBuffer2.h"
#include "MP3Info.h"
#include "MPEGAudio.h"
#include "NVExport.h"
#include "NVTypes.h"
#include "SoundFile.h"
#include "StreamInfo.h"
#include "WaveFile.h"
