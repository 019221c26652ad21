#include "utils/TextPieces.h"

#include <gtest/gtest.h>

namespace {

using Pieces = std::vector<std::string>;

TEST(TextPieces, TrimsAndSplitsAsListsAreWritten) {
    const std::pair<std::string, std::string> trims[] = {
        {"", ""}, {" \t\r\n", ""}, {" a b ", "a b"}, {"\tx\n", "x"}, {"a", "a"}, {"\va ", "\va"}};
    for (const auto& [text, trimmed] : trims) {
        EXPECT_EQ(TextPieces::Trim(text), trimmed) << text;
    }
    const std::tuple<std::string, Pieces, Pieces> splits[] = {
        {"", {""}, {}},
        {",", {"", ""}, {}},
        {"a,,b", {"a", "", "b"}, {"a", "b"}},
        {" a , ,b ", {" a ", " ", "b "}, {"a", "b"}},
        {"one", {"one"}, {"one"}},
        {",x,", {"", "x", ""}, {"x"}},
    };
    for (const auto& [text, whole, trimmed] : splits) {
        EXPECT_EQ(TextPieces::Split(text, ','), whole) << text;
        EXPECT_EQ(TextPieces::SplitTrimmed(text, ','), trimmed) << text;
    }
}

} // namespace
