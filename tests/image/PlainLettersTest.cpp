// Text of unknown encoding, and the letters that stand for it.
#include "image/PlainLetters.h"

#include "DibDrawing.h"
#include "image/SmallText.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <set>

namespace {

TEST(PlainLetters, AreAsciiWhateverTheBytesAre)
{
    struct Case {
        const char* name;
        std::string bytes, wanted;
    };
    const Case cases[] = {
        {"ASCII stays", "A & B's \"C\" (1)", "A & B's \"C\" (1)"},
        {"controls are blanks", "a\tb\x7F\n", "a b  "},
        {"UTF-8",
         "Bj\xC3\xB6rk \xC5\x81\xC3\xB3"
         "d\xC5\xBA \xE2\x80\x9Cx\xE2\x80\x9D \xE2\x80\x93",
         "Bjork Lodz \"x\" -"},
        {"Cyrillic", "\xD0\x9F\xD0\xB5\xD1\x81\xD0\xBD\xD1\x8F \xD0\x81\xD0\xB6", "Pesnya Yozh"},
        {"Latin-1",
         "Bj\xF6rk, M\xD8, Stra\xDF"
         "e",
         "Bjork, MO, Strasse"},
        {"one byte that is no UTF-8 makes all of it Latin-1", "\xC3\xB6\xF6", "A\x7Fo"},
        {"the last letters of the tables", "\xC5\xBF\xC3\xBF\xD1\x8F", "syya"},
        {"other letters are boxes", "\xE6\x97\xA5\xF0\x9F\x8E\xA4", "\x7F\x7F"},
        {"cut off", "\xE6\x97", "ae "},
        {"too long a form", "\xC0\xAF", "A-"},
        {"a surrogate", "\xED\xA0\x80", "i  "},
        {"too large", "\xF4\x90\x80\x80", "o   "},
        {"empty", "", ""},
    };
    for (const Case& c : cases)
        EXPECT_EQ(NV::PlainLetters(c.bytes), c.wanted) << c.name;
}

TEST(SmallText, DrawsEachAsciiLetterInItsOwnWay)
{
    std::set<std::vector<bool>> shapes;
    for (int letter = '!'; letter <= NV::unknownLetter; ++letter) {
        CDib picture;
        ASSERT_TRUE(picture.Create(8, 8, 8));
        CDibDrawing drawing(picture);
        NV::DrawSmallText(drawing, CPoint(0, 0), std::string(1, static_cast<char>(letter)), 1, 1);
        std::vector<bool> shape;
        for (int at = 0; at < 64; ++at)
            shape.push_back(picture.GetPixelIndex(at % 8, at / 8) != 0);
        EXPECT_TRUE(std::ranges::find(shape, true) != shape.end()) << letter;
        EXPECT_TRUE(shapes.insert(shape).second) << letter;
    }
}

} // namespace
