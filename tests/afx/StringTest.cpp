// CString against MFC's documented results.
#include <afx.h>
#include <climits>
#include <gtest/gtest.h>

TEST(String, FormatsAsPrintf)
{
    CString s("keep");
    s.Format("%02d:%05.2f %s|%-4s|%lld %u%%", 7, 3.14159, "x", "ab", 1LL << 40, 5U);
    EXPECT_EQ(s, "07:03.14 x|ab  |1099511627776 5%");
    s.Format("[%s][%s]", s.GetString(), s.GetString()); // from its own text
    EXPECT_EQ(s.GetLength(), 2 * 32 + 4);
    s = "a";
    s.AppendFormat("%d%s", 1, s.GetString());
    EXPECT_EQ(s, "a1a");
    const CString wide('w', 5000);
    s.Format("%s", wide.GetString());
    EXPECT_EQ(s, wide);
    s.Format("%s", "");
    EXPECT_TRUE(s.IsEmpty());
}

TEST(String, PartsAreClippedToTheString)
{
    const CString s("karaoke");
    struct Case {
        CString part;
        const char* expected;
    };
    const Case cases[] = {
        {s.Left(4), "kara"},       {s.Left(0), ""},
        {s.Left(-1), ""},          {s.Left(INT_MAX), "karaoke"},
        {s.Right(3), "oke"},       {s.Right(-1), ""},
        {s.Right(99), "karaoke"},  {s.Mid(4), "oke"},
        {s.Mid(2, 3), "rao"},      {s.Mid(7), ""},
        {s.Mid(99, 1), ""},        {s.Mid(-5, 2), "ka"},
        {s.Mid(5, INT_MAX), "ke"}, {s.Mid(1, -1), ""},
        {CString("abc", 2), "ab"}, {CString('x', 3), "xxx"},
        {CString('x', -1), ""},    {CString(static_cast<LPCTSTR>(nullptr)), ""},
    };
    for (const Case& c : cases)
        EXPECT_EQ(c.part, c.expected);
}

TEST(String, FindsAndReplaces)
{
    CString s("a.b.c");
    EXPECT_EQ(s.Find('.'), 1);
    EXPECT_EQ(s.Find('.', 2), 3);
    EXPECT_EQ(s.Find('.', 99), -1);
    EXPECT_EQ(s.Find('.', -1), -1);
    EXPECT_EQ(s.Find(".c"), 3);
    EXPECT_EQ(s.Find("x"), -1);
    EXPECT_EQ(s.ReverseFind('.'), 3);
    EXPECT_EQ(s.ReverseFind('x'), -1);

    EXPECT_EQ(s.Replace(".", ".."), 2) << "what was put in is not looked at";
    EXPECT_EQ(s, "a..b..c");
    EXPECT_EQ(s.Replace("..", nullptr), 2);
    EXPECT_EQ(s, "abc");
    EXPECT_EQ(s.Replace("", "x"), 0);
    EXPECT_EQ(s.Replace('b', '_'), 1);
    EXPECT_EQ(s.Replace('c', 'c'), 0);
    EXPECT_EQ(s, "a_c");
}

TEST(String, TrimsItsEnds)
{
    const char padded[] = " \t\r\nx y\n ";
    EXPECT_EQ(CString(padded).Trim(), "x y");
    EXPECT_EQ(CString(padded).TrimLeft(), "x y\n ");
    EXPECT_EQ(CString(padded).TrimRight(), " \t\r\nx y");
    EXPECT_EQ(CString(" \n ").Trim(), "");
    EXPECT_EQ(CString("..a.b..").Trim('.'), "a.b");
    EXPECT_EQ(CString("/\\a/").Trim("/\\"), "a");
    EXPECT_EQ(CString("abc").TrimRight("cb"), "a");
    EXPECT_EQ(CString("abc").TrimLeft('a'), "bc");
}

TEST(String, ComparesAndChangesCase)
{
    EXPECT_LT(CString("a").Compare("b"), 0);
    EXPECT_GT(CString("\xE9").Compare("z"), 0) << "bytes are unsigned";
    EXPECT_EQ(CString("Song.CDG").CompareNoCase("sONG.cdg"), 0);
    EXPECT_LT(CString("a").CompareNoCase("B"), 0);
    EXPECT_GT(CString("ab").CompareNoCase("A"), 0);
    EXPECT_LT(CString().CompareNoCase("a"), 0);
    EXPECT_TRUE("x" == CString("x") && CString("x") != "y" && CString("a") < CString("b"));
    EXPECT_EQ(CString("aZ9\xC4").MakeLower(), "az9\xC4");
    EXPECT_EQ(CString("aZ9\xE4").MakeUpper(), "AZ9\xE4");
}

TEST(String, JoinsAndAssigns)
{
    CString s = CString("b") + 'c' + "d" + CString("e");
    s = 'a' + s;
    s = "_" + s;
    s += s;
    s += 'x';
    s += "yz";
    EXPECT_EQ(s, "_abcde_abcdexyz");
    s = s.GetString() + 12; // from inside itself
    EXPECT_EQ(s, "xyz");
    s.SetAt(1, 'Y');
    EXPECT_EQ(s[1], 'Y');
    EXPECT_EQ(s.GetAt(3), 0);
    s = 'c';
    EXPECT_EQ(s, "c");
    s.Empty();
    EXPECT_EQ(s.GetLength(), 0);
}

TEST(String, LendsItsBuffer)
{
    CString s("abc");
    char* buffer = s.GetBuffer(100);
    EXPECT_STREQ(buffer, "abc");
    buffer[3] = 'd';
    s.ReleaseBuffer();
    EXPECT_EQ(s, "abcd");
    s.GetBuffer(10)[0] = 'X';
    s.ReleaseBuffer(2);
    EXPECT_EQ(s, "Xb");
    s.GetBuffer();
    s.ReleaseBuffer();
    EXPECT_EQ(s.GetLength(), 2);
}
