#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <tuple>
#include <utility>

#include "tests/support/both_widths.h"
#include "tests/support/report_of.h"
#include "tests/support/scratch.h"

namespace {

constexpr struct {
    const char* path;
    int dot;
    const char *withTxt, *renamed, *drive, *directory, *name, *extension;
} ROWS[] = {
    {"", -1, ".txt", "x", "", "", "", ""},
    {"a.b.c", 3, "a.b.txt", "x", "", "", "a.b", ".c"},
    {".hidden", 0, ".txt", "x", "", "", "", ".hidden"},
    {"c:ends.", 6, "c:ends.txt", "c:x", "c:", "", "ends", "."},
    {"dir.d/file", -1, "dir.d/file.txt", "dir.d/x", "", "dir.d/", "file", ""},
    {"dir.d\\file", -1, "dir.d\\file.txt", "dir.d\\x", "", "dir.d\\", "file", ""},
    {"c:\\a.b/", -1, "c:\\a.b/.txt", "c:\\a.b/x", "c:", "\\a.b/", "", ""},
    {"a/b\\b.c", 5, "a/b\\b.txt", "a/x", "", "a/b\\", "b", ".c"},
    {"a\\b:c", -1, "a\\b:c.txt", "a\\x", "", "a\\", "b:c", ""},
};

TEST(Paths, ExtensionAndNameAreFoundAndReplaced) {
    ForBothWidths([]<class Text>(Text path) {
        for (const auto& row : ROWS) {
            SCOPED_TRACE(row.path);
            EXPECT_EQ(Text(row.path).GetExtDotPos(), row.dot);
            EXPECT_EQ(Text(row.path).GetExtension(), Text(row.dot < 0 ? "" : row.extension + 1));
            for (const char* extension : {"txt", ".txt"}) {
                path = Text(row.path);
                path.SetExtension(Text(extension).c_str());
                EXPECT_EQ(path, Text(row.withTxt));
            }
            path.SetFilename(Text("x").c_str());
            EXPECT_EQ(path, Text(row.renamed));
        }
        path = Text("a..");
        path.SetExtension(Text("").c_str());
        path.SetExtension(path.c_str());
        EXPECT_EQ(path, Text("a.a.")) << "the argument may be part of the text";
        path.SetFilename(path.c_str() + 2);
        EXPECT_EQ(path, Text("a."));
    });
}

TEST(Paths, SplitIntoFourPartsThatJoinAgain) {
    const std::string longest(255, 'n');
    ForBothWidths([&]<class Text>(Text path) {
        Text drive("old"), directory, name, extension;
        for (const auto& row : ROWS) {
            SCOPED_TRACE(row.path);
            Text(row.path).SplitPath(&drive, &directory, &name, &extension);
            EXPECT_EQ(std::tie(drive, directory, name, extension),
                      std::tuple(Text(row.drive), Text(row.directory), Text(row.name),
                                 Text(row.extension)));
            path.MakePath(drive, directory, name, extension);
            EXPECT_EQ(path, Text(row.path));
            EXPECT_EQ(String::RemoveDriveAndDir(row.path), row.name + String(row.extension));
        }
        path = Text("d/" + longest + "nn." + longest);
        path.SplitPath(nullptr, nullptr, &name, &extension);
        EXPECT_EQ(name + extension, Text(longest + "." + longest.substr(1)));
        path.SplitPath(nullptr, nullptr, nullptr, nullptr);

        path.MakePath(Text("c"), Text("dir"), Text("name"), Text("ext"));
        EXPECT_EQ(path, Text("c:dir\\name.ext"));
        for (const std::size_t length : {259u, 260u, 5000u}) {
            path.MakePath(Text(""), Text("d"), Text(std::string(length - 2, 'n')), Text(""));
            EXPECT_EQ(path.size(), length > 259 ? 0 : length);
        }
        for (const char c : {'/', '/', '\\', '\\'})
            path.SetTerminationChar(static_cast<typename Text::value_type>(c));
        EXPECT_EQ(path, Text("/\\"));
    });
}

TEST(Tags, AreStrippedToTheirLabel) {
    const std::pair<const char*, const char*> rows[] = {
        {"$Name: REL_1 $", "REL_1"},  {"$Name:  $", ""},
        {"$Name:$", "<no label>"},    {"$Name: x", "<no label>"},
        {"1234567890", "<no label>"}, {" a $Name: b $ c ", "a  b  c"},
        {"x$y $Name: z", "xy  z"}};
    for (const auto& [whole, label] : rows) {
        String text(whole);
        text.StripOffTagNameAndDollarSigns();
        EXPECT_EQ(text, label) << whole;
    }
}

TEST(AsciiFile, AppendsALineForEachWord) {
    const ScratchDirectory directory;
    const std::string path = directory / "words.txt";
    std::ofstream(path) << "a  b\n\t c";
    std::fstream file(path, std::ios::in);
    String text("before");
    for (const char* when : {"from its start", "at its end"})
        EXPECT_TRUE(text.FromAsciiFile(file)) << when;
    EXPECT_EQ(text, "beforea\nb\nc\n");
    file.setstate(std::ios::badbit);
    EXPECT_EQ(ReportOf([&] { EXPECT_FALSE(text.FromAsciiFile(file)); }),
              Asserted("qelstring", {"(!fs.bad())"}));
}

}  // namespace
