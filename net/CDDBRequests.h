// What may stand in a request: nothing that a server, a record or an application hands over can add a header to it or
// end its first line. Any thread.
#pragma once

#include "CDDBTypes.h"

#include <cctype>
#include <string_view>

namespace NV {

/// "host", or "host:port" for a port other than HTTP's own.
inline CString HostAndPort(const CCDDBSite& site)
{
    CString text = site.host;
    if (site.port != 80)
        text.AppendFormat(":%d", site.port);
    return text;
}

/// Something, without blanks and controls.
inline bool IsRequestWord(const CString& text)
{
    for (int i = 0; i < text.GetLength(); ++i) {
        if (static_cast<unsigned char>(text[i]) <= ' ' || text[i] == 127)
            return false;
    }
    return !text.IsEmpty();
}

/// A category within a query string; the usual ones stay as they are.
inline CString RequestArgument(const char* text)
{
    CString encoded;
    for (; *text; ++text) {
        const unsigned char c = static_cast<unsigned char>(*text);
        if (std::isalnum(c) || c == '-' || c == '_' || c == '.' || c == '~')
            encoded += *text;
        else
            encoded.AppendFormat("%%%02X", c);
    }
    return encoded;
}

/// A header's value.
inline CString HeaderText(const char* text)
{
    CString plain(text);
    for (int i = 0; i < plain.GetLength(); ++i) {
        if (static_cast<unsigned char>(plain[i]) < ' ')
            plain.SetAt(i, ' ');
    }
    return plain;
}

} // namespace NV
