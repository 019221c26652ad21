// Wrapping of the question's text for terminals and debconf.
#include <gtest/gtest.h>

#include "app/TextWrap.h"

namespace {

TEST(TextWrap, BreaksAtBlanksWithinTheWidthAndNeverInsideACharacter) {
    const struct {
        std::string text;
        std::size_t columns;
        std::string wrapped;
    } cases[] = {
        {"one two three", 7, "one two\nthree"},
        {"one two three", 8, "one two\nthree"},
        {"one  two", 5, "one\ntwo"},                      // blanks at a break go
        {"first\nsecond line", 6, "first\nsecond\nline"}, // breaks already there stay
        {"abcdefghij", 4, "abcd\nefgh\nij"},              // a word wider than a line
        {"インストール", 5, "イン\nスト\nール"},          // two columns each
        {"Quorvel をインストール", 8, "Quorvel\nをインス\nトール"},
        {"caf\xC3\xA9 au", 4, "caf\xC3\xA9\nau"}, // é is one column
        {"a\xFF"
         "b c",
         3,
         "a\xFF"
         "b\nc"}, // a stray byte is one column
        {"unchanged", 0, "unchanged"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(TextWrap::Wrap(c.text, c.columns), c.wrapped) << c.text << " @" << c.columns;
    }
}

} // namespace
