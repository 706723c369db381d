// One transfer of libcurl's easy interface, with what all transfers of this library share. One thread at a time.
#pragma once

#include "CDDB.h"

#include <curl/curl.h>
#include <memory>

namespace NV {

class CurlHandle {
public:
    /// Readies a GET of `url`: redirects are followed, to web servers only; certificates are checked when the
    /// application wants that.
    explicit CurlHandle(const char* url) : handle(Started() ? curl_easy_init() : nullptr, &curl_easy_cleanup)
    {
        if (!handle)
            return;
        Set(CURLOPT_URL, url);
        Set(CURLOPT_FOLLOWLOCATION, 1L);
        Set(CURLOPT_MAXREDIRS, 10L);
        Set(CURLOPT_PROTOCOLS_STR, "http,https");
        Set(CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
        Set(CURLOPT_SSL_VERIFYPEER, CCDDB::c_bVerifyCertificates ? 1L : 0L);
        Set(CURLOPT_SSL_VERIFYHOST, CCDDB::c_bVerifyCertificates ? 2L : 0L);
    }

    explicit operator bool() const { return handle != nullptr; }
    template <class Value>
    void Set(CURLoption option, Value value) const
    {
        curl_easy_setopt(handle.get(), option, value);
    }
    CURLcode Perform() const { return curl_easy_perform(handle.get()); }
    long ResponseCode() const
    {
        long code = 0;
        curl_easy_getinfo(handle.get(), CURLINFO_RESPONSE_CODE, &code);
        return code;
    }

private:
    static bool Started()
    {
        static const bool started = curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK;
        return started;
    }

    std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> handle;
};

} // namespace NV
