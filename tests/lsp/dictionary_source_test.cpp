// Where things are outside the documents: the dictionary's problems and places
// turned into LSP ranges, file URIs, and the settings that name the files.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "bridge/Assistant.h"
#include "bridge/DictionaryLoader.h"
#include "features/DictionarySource.h"
#include "protocol/Uri.h"
#include "server/Settings.h"

namespace {

using namespace vantle::lsp;

TEST(DictionaryProblems, EachLineIsPlacedByItsFirstLineAndColumn) {
    const auto problems = ParseProblems("ignored when the list is there",
                                        "/tmp/a:1:b/shop.json:3:7: unknown key \"nam\" (class A.B)\n"
                                        "/tmp/a:1:b/shop.json:12:0: class \"A.B\" is defined twice\n");
    ASSERT_EQ(problems.size(), 2u);
    EXPECT_EQ(std::tuple(problems[0].line, problems[0].column, problems[0].text),
              std::tuple(3u, 7u, std::string("unknown key \"nam\" (class A.B)")));
    EXPECT_EQ(std::pair(problems[1].line, problems[1].column), std::pair(12u, 1u));
    const auto whole = ParseProblems("/x/shop.json: cannot open the dictionary: No such file or directory", "");
    ASSERT_EQ(whole.size(), 1u);
    EXPECT_EQ(std::pair(whole[0].line, whole[0].text),
              std::pair(0u, std::string("/x/shop.json: cannot open the dictionary: No such file or directory")));
}

TEST(DictionaryPlaces, UnitColumnsBecomeColumnsOfTheNegotiatedEncodingAndFollowTheFile) {
    const std::string path = testing::TempDir() + "vantle-lsp-places.json";
    // A byte order mark (which counts for nothing), then a line whose name follows
    // two characters of two and four UTF-8 bytes: at UTF-16 column 11 from 1.
    std::ofstream(path, std::ios::binary) << "\xEF\xBB\xBF{\n  \"\xC3\xA9\xF0\x9F\x98\x80\": \"Name\"\n";
    DictionarySource source;
    EXPECT_EQ(source.RangeAt(path, 2, 11, 4, PositionEncoding::Utf16), (Range{{1, 10}, {1, 14}}));
    EXPECT_EQ(source.RangeAt(path, 2, 11, 4, PositionEncoding::Utf8), (Range{{1, 13}, {1, 17}}));
    EXPECT_EQ(source.RangeAt(path, 2, 11, 4, PositionEncoding::Utf32), (Range{{1, 9}, {1, 13}}));
    EXPECT_EQ(source.RangeAt(path, 1, 1, 1, PositionEncoding::Utf8), (Range{{0, 0}, {0, 1}}));  // after the mark
    std::ofstream(path, std::ios::binary) << "{\n  \"ab\": \"Name and more, so that the size differs\"\n";
    EXPECT_EQ(source.RangeAt(path, 2, 9, 4, PositionEncoding::Utf8).start.character, 8u);
    std::filesystem::remove(path);
}

TEST(FileUris, LocalPathsRoundTripWithTheirSpecialCharacters) {
    const std::string path = "/tmp/a b/c+d%e/\xC3\xA9.json";
    EXPECT_EQ(PathToUri(path), "file:///tmp/a%20b/c%2Bd%25e/%C3%A9.json");
    EXPECT_EQ(UriToPath(PathToUri(path)), path);
    EXPECT_EQ(UriToPath("FILE://localhost/x/y?query#part"), "/x/y");
    EXPECT_EQ(UriToPath("file:///x%2"), "/x%2");  // an escape cut short stays as written
    for (const char* other : {"untitled:Untitled-1", "file://server/share/x", "file:///x%00y", "file:"})
        EXPECT_EQ(UriToPath(other), std::nullopt) << other;
}

// A file name is bytes: one that is not UTF-8 is loaded, and the places the tree
// gives lead back to the same bytes (and to a URI that names them).
TEST(FileUris, ADictionaryWhoseNameIsNotUtf8LoadsAndIsPlacedUnderItsOwnName) {
    const std::string path = testing::TempDir() + "vantle-lsp-\xFF\xC3.json";
    std::filesystem::copy_file(std::string(VANTLE_SOURCE_DIR) + "/dictionaries/shop.json", path,
                               std::filesystem::copy_options::overwrite_existing);
    LoadResult loaded = LoadDictionaryFile(path);
    ASSERT_EQ(loaded.status, S_OK) << loaded.message;
    Assistant assistant;
    std::string error;
    ASSERT_TRUE(assistant.Create(&error)) << error;
    assistant.Adopt(std::move(loaded.tree));
    const auto place = assistant.Locate(u"Shop.Order", std::nullopt, u"");
    ASSERT_TRUE(place.has_value());
    EXPECT_EQ(place->file, path);
    EXPECT_EQ(UriToPath(PathToUri(path)), path);
    std::filesystem::remove(path);
}

TEST(SettingsObjects, KeysAtTheTopOrUnderVantleAndWrongTypesRefused) {
    Settings settings;
    std::vector<std::string> problems;
    ApplySettings(json::parse(R"({"imports": "A", "flags": 31, "vantle": {"imports": "B,C", "diagnostics": false},
                                  "includeInherited": "yes", "sourceRoot": 5, "other": {"x": 1}})"),
                  settings, problems);
    EXPECT_EQ(std::tuple(settings.imports, settings.flags, settings.diagnostics, settings.includeInherited),
              std::tuple(std::string("B,C"), 31, false, true));  // the section wins; wrong types keep their value
    for (const char* flags : {R"({"flags": 64})", R"({"flags": -1})", R"({"flags": 1.5})"})
        ApplySettings(json::parse(flags), settings, problems);
    EXPECT_EQ(settings.flags, 31);
    EXPECT_EQ(problems.size(), 5u);
}

}  // namespace
