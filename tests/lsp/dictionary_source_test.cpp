// Where things are outside the documents: the dictionary's problems and places
// turned into LSP ranges, file URIs, and the settings that name the files.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "features/DictionarySource.h"
#include "protocol/Uri.h"
#include "server/Settings.h"

namespace {

using namespace vantle::lsp;

TEST(DictionaryProblems, EachLineIsPlacedByItsFirstLineAndColumn) {
    const auto problems = ParseProblems("ignored when the list is there",
                                        "/tmp/a:1:b/shop.json:3:7: unknown key \"nam\" (class A.B)\n"
                                        "/tmp/a:1:b/shop.json:12:1: class \"A.B\" is defined twice\n");
    ASSERT_EQ(problems.size(), 2u);
    EXPECT_EQ(problems[0].line, 3u);
    EXPECT_EQ(problems[0].column, 7u);
    EXPECT_EQ(problems[0].text, "unknown key \"nam\" (class A.B)");
    EXPECT_EQ(problems[1].line, 12u);
}

TEST(DictionaryProblems, AProblemOfTheWholeFileHasNoPlace) {
    const auto problems = ParseProblems("/x/shop.json: cannot open the dictionary: No such file or directory", "");
    ASSERT_EQ(problems.size(), 1u);
    EXPECT_EQ(problems[0].line, 0u);
    EXPECT_EQ(problems[0].text, "/x/shop.json: cannot open the dictionary: No such file or directory");
}

class DictionaryPlaces : public testing::Test {
protected:
    void SetUp() override {
        // A byte order mark (which counts for nothing), then a line whose name
        // follows two characters of two and four UTF-8 bytes.
        std::ofstream(path, std::ios::binary) << "\xEF\xBB\xBF{\n  \"\xC3\xA9\xF0\x9F\x98\x80\": \"Name\"\n";
    }
    void TearDown() override { std::filesystem::remove(path); }
    const std::string path = testing::TempDir() + "vantle-lsp-places.json";
    DictionarySource source;
};

TEST_F(DictionaryPlaces, UnitColumnsBecomeColumnsOfTheNegotiatedEncoding) {
    // "Name" starts after 2 + 1 + 2 + 5 = 10 UTF-16 units: column 11 from 1.
    EXPECT_EQ(source.RangeAt(path, 2, 11, 4, PositionEncoding::Utf16), (Range{{1, 10}, {1, 14}}));
    EXPECT_EQ(source.RangeAt(path, 2, 11, 4, PositionEncoding::Utf8), (Range{{1, 13}, {1, 17}}));
    EXPECT_EQ(source.RangeAt(path, 2, 11, 4, PositionEncoding::Utf32), (Range{{1, 9}, {1, 13}}));
    EXPECT_EQ(source.RangeAt(path, 1, 1, 1, PositionEncoding::Utf8), (Range{{0, 0}, {0, 1}}));  // after the mark
}

TEST_F(DictionaryPlaces, TheFileIsReadAgainWhenItChanges) {
    EXPECT_EQ(source.RangeAt(path, 2, 11, 4, PositionEncoding::Utf8).start.character, 13u);
    std::ofstream(path, std::ios::binary) << "{\n  \"ab\": \"Name and more, so that the size differs\"\n";
    EXPECT_EQ(source.RangeAt(path, 2, 9, 4, PositionEncoding::Utf8).start.character, 8u);
}

TEST(FileUris, PathsRoundTripWithTheirSpecialCharacters) {
    const std::string path = "/tmp/a b/c+d%e/\xC3\xA9.json";
    const std::string uri = PathToUri(path);
    EXPECT_EQ(uri, "file:///tmp/a%20b/c%2Bd%25e/%C3%A9.json");
    EXPECT_EQ(UriToPath(uri), path);
    EXPECT_EQ(UriToPath("FILE://localhost/x/y?query#part"), "/x/y");
    EXPECT_EQ(UriToPath("file:///x%2"), "/x%2");  // an escape cut short stays as written
}

TEST(FileUris, OnlyLocalFilesArePaths) {
    EXPECT_EQ(UriToPath("untitled:Untitled-1"), std::nullopt);
    EXPECT_EQ(UriToPath("file://server/share/x"), std::nullopt);
    EXPECT_EQ(UriToPath("file:///x%00y"), std::nullopt);
    EXPECT_EQ(UriToPath("file:"), std::nullopt);
}

TEST(SettingsObjects, KeysAtTheTopOrUnderVantleAndWrongTypesRefused) {
    Settings settings;
    std::vector<std::string> problems;
    ApplySettings(
        nlohmann::json::parse(R"({"imports": "A", "flags": 31, "vantle": {"imports": "B,C", "diagnostics": false},
                                            "includeInherited": "yes", "sourceRoot": 5, "other": {"x": 1}})"),
        settings, problems);
    EXPECT_EQ(settings.imports, "B,C");  // the section wins
    EXPECT_EQ(settings.flags, 31);
    EXPECT_FALSE(settings.diagnostics);
    EXPECT_TRUE(settings.includeInherited);  // kept
    EXPECT_EQ(problems.size(), 2u);
    ApplySettings(nlohmann::json::parse(R"({"flags": 64})"), settings, problems);
    ApplySettings(nlohmann::json::parse(R"({"flags": -1})"), settings, problems);
    EXPECT_EQ(settings.flags, 31);
    EXPECT_EQ(problems.size(), 4u);
}

}  // namespace
