// The log of the CDDB client: the application's callback, or nothing. Whatever thread the client runs on.
#pragma once

#include "CDDB.h"

#include <string>

namespace NV {

inline void CDDBLog(const char* text)
{
    if (CCDDB::c_pWriteLogCallback)
        CCDDB::c_pWriteLogCallback(text);
}

inline void CDDBLog(const CString& text)
{
    CDDBLog(text.GetString());
}

} // namespace NV
