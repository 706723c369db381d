// Pieces of HTML: see Html.h.
#include "Html.h"

#include <cstdio>
#include <string_view>

namespace nvtool {

const char* const kPageFooter =
    "<footer>Made by nvtool " NVTOOL_VERSION
    "; the same facts for programs are in <a href=\"report.json\">report.json</a>.</footer>\n";

std::string EscapedHtml(const std::string& text)
{
    std::string escaped;
    for (const char c : text) {
        if (c == '&')
            escaped += "&amp;";
        else if (c == '<')
            escaped += "&lt;";
        else if (c == '>')
            escaped += "&gt;";
        else if (c == '"')
            escaped += "&quot;";
        else
            escaped += c;
    }
    return escaped;
}

std::string FileReference(const std::string& path)
{
    std::string reference;
    for (const char c : path) {
        const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                           std::string_view("-._/").find(c) != std::string_view::npos;
        char code[4] = {c, 0, 0, 0};
        if (!plain)
            std::snprintf(code, sizeof(code), "%%%02X", static_cast<unsigned char>(c));
        reference += code;
    }
    return reference;
}

std::string NumberText(double value, int decimals)
{
    char text[64];
    std::snprintf(text, sizeof(text), "%.*f", decimals, value);
    return text;
}

std::string CountText(size_t count, const char* one, const char* many)
{
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

std::string HtmlPage(const std::string& title, const std::string& body)
{
    return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
           "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>" +
           EscapedHtml(title) + "</title>\n<style>\n" + kPageStyle + "</style>\n</head>\n<body>\n" + body +
           "</body>\n</html>\n";
}

} // namespace nvtool
