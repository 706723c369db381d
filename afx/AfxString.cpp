// CString: MFC's string operations over a standard string.
#include <afx.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <utility>

namespace {

// Not those of <cctype>: they depend on the program's locale, and are undefined for negative characters.
constexpr char ToLower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

constexpr char ToUpper(char c)
{
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - ('a' - 'A')) : c;
}

constexpr char whiteSpace[] = " \t\n\v\f\r";

int IndexOf(std::size_t found)
{
    return found == std::string::npos ? -1 : static_cast<int>(found);
}

} // namespace

CString& CString::operator=(LPCTSTR other)
{
    text = std::string(other ? other : ""); // a copy first: `other` may point into this string
    return *this;
}

CString& CString::operator=(char character)
{
    text.assign(1, character);
    return *this;
}

LPTSTR CString::GetBuffer(int minimumLength)
{
    if (minimumLength > GetLength())
        text.resize(Count(minimumLength)); // zeros behind the old end, so that ReleaseBuffer() finds it
    return text.data();
}

void CString::ReleaseBuffer(int newLength)
{
    const std::size_t length = newLength < 0 ? std::strlen(text.c_str()) : Count(newLength);
    text.resize(std::min(length, text.size()));
}

CString& CString::operator+=(const CString& other)
{
    text += other.text;
    return *this;
}

CString& CString::operator+=(LPCTSTR other)
{
    if (other)
        text += other;
    return *this;
}

CString& CString::operator+=(char character)
{
    text += character;
    return *this;
}

int CString::Compare(LPCTSTR other) const
{
    return std::strcmp(text.c_str(), other ? other : "");
}

int CString::CompareNoCase(LPCTSTR other) const
{
    const char* a = text.c_str();
    const char* b = other ? other : "";
    while (*a && ToLower(*a) == ToLower(*b)) {
        ++a;
        ++b;
    }
    return static_cast<unsigned char>(ToLower(*a)) - static_cast<unsigned char>(ToLower(*b));
}

CString CString::Left(int count) const
{
    return CString(text.c_str(), std::min(count, GetLength()));
}

CString CString::Right(int count) const
{
    const int length = std::clamp(count, 0, GetLength());
    return CString(text.c_str() + GetLength() - length, length);
}

CString CString::Mid(int first) const
{
    return Mid(first, GetLength());
}

CString CString::Mid(int first, int count) const
{
    const int start = std::clamp(first, 0, GetLength());
    return CString(text.c_str() + start, std::min(count, GetLength() - start));
}

int CString::Find(char character, int start) const
{
    return start < 0 ? -1 : IndexOf(text.find(character, Count(start)));
}

int CString::Find(LPCTSTR part, int start) const
{
    return start < 0 || !part ? -1 : IndexOf(text.find(part, Count(start)));
}

int CString::ReverseFind(char character) const
{
    return IndexOf(text.rfind(character));
}

CString& CString::MakeLower()
{
    std::transform(text.begin(), text.end(), text.begin(), ToLower);
    return *this;
}

CString& CString::MakeUpper()
{
    std::transform(text.begin(), text.end(), text.begin(), ToUpper);
    return *this;
}

CString& CString::TrimLeft(LPCTSTR set)
{
    text.erase(0, text.find_first_not_of(set ? set : ""));
    return *this;
}

CString& CString::TrimRight(LPCTSTR set)
{
    text.erase(text.find_last_not_of(set ? set : "") + 1); // npos + 1 is 0: nothing else was there
    return *this;
}

CString& CString::Trim(LPCTSTR set)
{
    return TrimRight(set).TrimLeft(set);
}

CString& CString::TrimLeft()
{
    return TrimLeft(whiteSpace);
}

CString& CString::TrimRight()
{
    return TrimRight(whiteSpace);
}

CString& CString::Trim()
{
    return Trim(whiteSpace);
}

CString& CString::TrimLeft(char character)
{
    const char set[] = {character, 0};
    return TrimLeft(set);
}

CString& CString::TrimRight(char character)
{
    const char set[] = {character, 0};
    return TrimRight(set);
}

CString& CString::Trim(char character)
{
    return TrimRight(character).TrimLeft(character);
}

int CString::Replace(char from, char to)
{
    if (from == to)
        return 0;
    const auto count = std::count(text.begin(), text.end(), from);
    std::replace(text.begin(), text.end(), from, to);
    return static_cast<int>(count);
}

int CString::Replace(LPCTSTR from, LPCTSTR to)
{
    const std::string sought(from ? from : "");
    if (sought.empty())
        return 0;
    std::string result;
    int count = 0;
    std::size_t at = 0;
    for (std::size_t hit; (hit = text.find(sought, at)) != std::string::npos; at = hit + sought.size()) {
        result.append(text, at, hit - at).append(to ? to : "");
        ++count;
    }
    result.append(text, at);
    text = std::move(result);
    return count;
}

void CString::Format(LPCTSTR format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    FormatV(format, arguments);
    va_end(arguments);
}

void CString::AppendFormat(LPCTSTR format, ...)
{
    CString addition;
    va_list arguments;
    va_start(arguments, format);
    addition.FormatV(format, arguments);
    va_end(arguments);
    text += addition.text;
}

void CString::FormatV(LPCTSTR format, va_list arguments)
{
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    std::string result(length > 0 ? Count(length) : 0, '\0');
    if (length > 0)
        std::vsnprintf(result.data(), result.size() + 1, format, arguments);
    text = std::move(result); // only now: the arguments may have pointed here
}

CString operator+(const CString& a, const CString& b)
{
    CString result(a);
    result += b;
    return result;
}

CString operator+(const CString& a, LPCTSTR b)
{
    CString result(a);
    result += b;
    return result;
}

CString operator+(LPCTSTR a, const CString& b)
{
    CString result(a);
    result += b;
    return result;
}

CString operator+(const CString& a, char b)
{
    CString result(a);
    result += b;
    return result;
}

CString operator+(char a, const CString& b)
{
    CString result(a);
    result += b;
    return result;
}
