// Pieces of HTML that the pages of nvtool share.
#pragma once

#include <string>

namespace nvtool {

// The style sheet of all pages, and the script that plays sound and graphics: the files below page/.
extern const char* const kPageStyle;
extern const char* const kPageScript;

// Text for HTML, also inside of attributes. Bytes that are no UTF-8 would only show as odd characters.
std::string EscapedHtml(const std::string& text);
// The reference to a file below the page's own folder: UTF-8 with slashes, every character that means something in an
// address written as %XX.
std::string FileReference(const std::string& path);
std::string NumberText(double value, int decimals);
// "1 page", "2 pages".
std::string CountText(size_t count, const char* one, const char* many);
// What all pages end with.
extern const char* const kPageFooter;
// The page around a body.
std::string HtmlPage(const std::string& title, const std::string& body);

} // namespace nvtool
