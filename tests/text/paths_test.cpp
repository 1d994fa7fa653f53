#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <tuple>
#include <utility>

#include "tests/support/both_widths.h"
#include "tests/support/report_of.h"

namespace {

using Row = std::pair<const char*, const char*>;

TEST(Paths, ExtensionAndNameAreFoundAndReplaced) {
    const struct {
        const char* path;
        int dot;
        const char *extension, *withTxt, *renamed;
    } rows[] = {{"", -1, "", ".txt", "x"},
                {"a.b.c", 3, "c", "a.b.txt", "x"},
                {".hidden", 0, "hidden", ".txt", "x"},
                {"c:ends.", 6, "", "c:ends.txt", "c:x"},
                {"dir.d/file", -1, "", "dir.d/file.txt", "dir.d/x"},
                {"dir.d\\file", -1, "", "dir.d\\file.txt", "dir.d\\x"},
                {"c:\\a.b/", -1, "", "c:\\a.b/.txt", "c:\\a.b/x"},
                {"a/b\\b.c", 5, "c", "a/b\\b.txt", "a/x"},
                {"a\\b:c", -1, "", "a\\b:c.txt", "a\\x"}};
    ForBothWidths([&]<class Text>(Text path) {
        for (const auto& row : rows) {
            SCOPED_TRACE(row.path);
            EXPECT_EQ(Text(row.path).GetExtDotPos(), row.dot);
            EXPECT_EQ(Text(row.path).GetExtension(), Text(row.extension));
            for (const char* extension : {"txt", ".txt"}) {
                path = Text(row.path);
                path.SetExtension(Text(extension).c_str());
                EXPECT_EQ(path, Text(row.withTxt));
            }
            path = Text(row.path);
            path.SetFilename(Text("x").c_str());
            EXPECT_EQ(path, Text(row.renamed));
        }
        path.SetExtension(Text("").c_str());
        path.SetExtension(path.c_str());
        EXPECT_EQ(path, Text("a\\x.a\\x.")) << "the argument may be part of the text";
    });
}

TEST(Paths, SplitIntoFourPartsThatJoinAgain) {
    const std::string longest(255, 'n');
    const struct {
        std::string path, drive, directory, name, extension;
    } rows[] = {{"", "", "", "", ""},
                {"c:\\dir\\name.ext", "c:", "\\dir\\", "name", ".ext"},
                {"/a.b/:c", "", "/a.b/", ":c", ""},
                {"c:a\\b/", "c:", "a\\b/", "", ""},
                {"x/.hidden", "", "x/", "", ".hidden"},
                {"a.b.c", "", "", "a.b", ".c"},
                {"c:/" + longest, "c:", "/", longest, ""}};
    ForBothWidths([&]<class Text>(Text joined) {
        Text drive("old"), directory, name, extension;
        for (const auto& row : rows) {
            SCOPED_TRACE(row.path);
            Text(row.path).SplitPath(&drive, &directory, &name, &extension);
            EXPECT_EQ(std::tie(drive, directory, name, extension),
                      std::tuple(Text(row.drive), Text(row.directory), Text(row.name),
                                 Text(row.extension)));
            joined.MakePath(drive, directory, name, extension);
            EXPECT_EQ(joined, Text(row.path));
            EXPECT_EQ(String::RemoveDriveAndDir(row.path), row.name + row.extension);
        }
        const Text path("d/" + longest + "nn." + longest);
        path.SplitPath(nullptr, nullptr, &name, &extension);
        EXPECT_EQ(name, Text(longest));
        EXPECT_EQ(extension, Text("." + longest.substr(1)));
        path.SplitPath(nullptr, nullptr, nullptr, nullptr);
    });
}

TEST(Paths, MakingAPathAndATerminationAddWhatIsMissing) {
    ForBothWidths([]<class Text>(Text path) {
        path.MakePath(Text("c"), Text("dir"), Text("name"), Text("ext"));
        EXPECT_EQ(path, Text("c:dir\\name.ext"));
        path.MakePath(Text(""), Text("dir/"), Text(""), Text("."));
        EXPECT_EQ(path, Text("dir/."));
        for (const std::size_t length : {259u, 260u, 5000u}) {
            const std::string name(length - 2, 'n');
            path.MakePath(Text(""), Text("d"), Text(name), Text(""));
            EXPECT_EQ(path, Text(length > 259 ? "" : "d\\" + name)) << length;
        }
        path.clear();
        for (const char c : {'/', '/', '\\', '\\'})
            path.SetTerminationChar(static_cast<typename Text::value_type>(c));
        EXPECT_EQ(path, Text("/\\"));
    });
}

TEST(Tags, AreStrippedToTheirLabel) {
    for (const auto& [whole, label] :
         {Row{"$Name: REL_1 $", "REL_1"}, Row{"$Name:  $", ""}, Row{"$Name:$", "<no label>"},
          Row{"$Name: x", "<no label>"}, Row{"1234567890", "<no label>"},
          Row{" a $Name: b $ c ", "a  b  c"}, Row{"x$y $Name: z", "xy  z"}}) {
        String text(whole);
        text.StripOffTagNameAndDollarSigns();
        EXPECT_EQ(text, label) << whole;
    }
}

TEST(AsciiFile, GivesAWordALine) {
    const std::string path = testing::TempDir() + "words.txt";
    std::ofstream(path) << "a  b\n\t c";
    std::fstream file(path, std::ios::in);
    String text("before");
    EXPECT_TRUE(text.FromAsciiFile(file));
    EXPECT_TRUE(text.FromAsciiFile(file)) << "at its end";
    EXPECT_EQ(text, "beforea\nb\nc\n");
    file.setstate(std::ios::badbit);
    EXPECT_EQ(ReportOf([&] { EXPECT_FALSE(text.FromAsciiFile(file)); }),
              "ASSERT((!fs.bad()) in: .\\qelstring  line #\n");
}

}  // namespace
