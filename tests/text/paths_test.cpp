#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "utilities/text/qelstring.h"

namespace {

/// The same text in the other width, for tables that serve both.
std::u16string Wide(const std::string& text) { return {text.begin(), text.end()}; }

TEST(Paths, AnExtensionBelongsToTheName) {
    const struct {
        const char* path;
        int dot;
        const char *extension, *withTxt;
    } rows[] = {{"", -1, "", ".txt"},
                {"name", -1, "", "name.txt"},
                {"name.dat", 4, "dat", "name.txt"},
                {"a.b.c", 3, "c", "a.b.txt"},
                {".hidden", 0, "hidden", ".txt"},
                {"ends.", 4, "", "ends.txt"},
                {"dir.d/file", -1, "", "dir.d/file.txt"},
                {"dir.d\\file", -1, "", "dir.d\\file.txt"},
                {"a.b/", -1, "", "a.b/.txt"},
                {"a/b.c", 3, "c", "a/b.txt"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.path);
        EXPECT_EQ(String(row.path).GetExtDotPos(), row.dot);
        EXPECT_EQ(String(row.path).GetExtension(), row.extension);
        EXPECT_EQ(WString(Wide(row.path)).GetExtDotPos(), row.dot);
        EXPECT_EQ(WString(Wide(row.path)).GetExtension(), Wide(row.extension));
        for (const char* extension : {"txt", ".txt"}) {
            String narrow(row.path);
            WString wide(Wide(row.path));
            narrow.SetExtension(extension);
            wide.SetExtension(Wide(extension).c_str());
            EXPECT_EQ(narrow, row.withTxt);
            EXPECT_EQ(wide, Wide(row.withTxt));
        }
    }
    String path("name.ext");
    path.SetExtension("");
    EXPECT_EQ(path, "name.");
    path.SetExtension(path.c_str());
    EXPECT_EQ(path, "name.name.") << "the argument may be part of the text";
}

TEST(Paths, TheNameStandsBehindThePreferredSeparator) {
    const struct {
        const char *path, *renamed;
    } rows[] = {{"c:name", "c:x"},     {"a/b\\c", "a/x"}, {"a\\b:c", "a\\x"},
                {"c:\\d/", "c:\\d/x"}, {"name", "x"},     {"", "x"}};
    for (const auto& row : rows) {
        String narrow(row.path);
        WString wide(Wide(row.path));
        narrow.SetFilename("x");
        wide.SetFilename(u"x");
        EXPECT_EQ(narrow, row.renamed);
        EXPECT_EQ(wide, Wide(row.renamed));
    }
}

TEST(Paths, SplitIntoFourPartsThatJoinAgain) {
    const std::string longest(255, 'n');
    const struct {
        std::string path, drive, directory, name, extension;
    } rows[] = {{"", "", "", "", ""},
                {"c:\\dir\\name.ext", "c:", "\\dir\\", "name", ".ext"},
                {"c:name", "c:", "", "name", ""},
                {":x", "", "", ":x", ""},
                {"/a.b/c", "", "/a.b/", "c", ""},
                {"a\\b/", "", "a\\b/", "", ""},
                {"x/.hidden", "", "x/", "", ".hidden"},
                {"a.b.c", "", "", "a.b", ".c"},
                {"c:/" + longest, "c:", "/", longest, ""}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.path);
        std::string drive = "old", directory, name, extension;
        String(row.path).SplitPath(&drive, &directory, &name, &extension);
        EXPECT_EQ(drive + '|' + directory + '|' + name + '|' + extension,
                  row.drive + '|' + row.directory + '|' + row.name + '|' + row.extension);
        String joined("old");
        joined.MakePath(drive, directory, name, extension);
        EXPECT_EQ(joined, row.path);
        std::u16string wideName, wideExtension;
        const WString wide(Wide(row.path));
        wide.SplitPath(nullptr, nullptr, &wideName, &wideExtension);
        EXPECT_EQ(wideName + wideExtension, Wide(row.name + row.extension));
        EXPECT_EQ(String::RemoveDriveAndDir(row.path), row.name + row.extension);
        wide.SplitPath(nullptr, nullptr, nullptr, nullptr);
    }
    std::string name, extension;
    String("d/" + longest + "nn." + longest).SplitPath(nullptr, nullptr, &name, &extension);
    EXPECT_EQ(name, longest);
    EXPECT_EQ(extension, "." + longest.substr(1));
}

TEST(Paths, MakingAPathAddsWhatIsMissing) {
    String path;
    path.MakePath("c", "dir", "name", "ext");
    EXPECT_EQ(path, "c:dir\\name.ext");
    path.MakePath("", "dir/", "", ".");
    EXPECT_EQ(path, "dir/.");
    WString wide;
    wide.MakePath(u"c:", u"d\\", u"n", u".e");
    EXPECT_EQ(wide, u"c:d\\n.e");
    for (const std::size_t length : {258u, 259u, 260u, 5000u}) {
        const std::string name(length - 2, 'n');
        path.MakePath("", "d", name, "");
        wide.MakePath(u"", u"d", Wide(name), u"");
        EXPECT_EQ(path, length > 259 ? "" : "d\\" + name) << length;
        EXPECT_EQ(wide, Wide(path)) << length;
    }
}

TEST(Paths, ATerminationCharIsAddedOnce) {
    String narrow;
    WString wide(u"dir");
    for (int round = 0; round < 2; ++round) {
        narrow.SetTerminationChar('/');
        wide.SetTerminationChar(u'\\');
    }
    EXPECT_EQ(narrow, "/");
    EXPECT_EQ(wide, u"dir\\");
}

TEST(Tags, AreStrippedToTheirLabel) {
    const struct {
        const char *text, *label;
    } rows[] = {
        {"$Name: REL_1 $", "REL_1"},     {"$Name:  $", ""},          {"", "<no label>"},
        {"$Name:$", "<no label>"},       {"$Name: x", "<no label>"}, {"1234567890", "<no label>"},
        {" a $Name: b $ c ", "a  b  c"}, {"x$y $Name: z", "xy  z"}};
    for (const auto& row : rows) {
        String text(row.text);
        text.StripOffTagNameAndDollarSigns();
        EXPECT_EQ(text, row.label) << row.text;
    }
}

TEST(AsciiFile, GivesAWordALine) {
    const std::string path = testing::TempDir() + "words.txt";
    std::ofstream(path) << "a  b\n\t c";
    std::fstream file(path, std::ios::in);
    String text("before");
    EXPECT_TRUE(text.FromAsciiFile(file));
    EXPECT_EQ(text, "beforea\nb\nc\n");
    EXPECT_TRUE(text.FromAsciiFile(file)) << "at its end";
    EXPECT_EQ(text, "beforea\nb\nc\n");
    file.setstate(std::ios::badbit);
    testing::internal::CaptureStderr();
    EXPECT_FALSE(text.FromAsciiFile(file));
    const std::string report = testing::internal::GetCapturedStderr();
    EXPECT_EQ(report.find("ASSERT((!fs.bad()) in: .\\qelstring  line "), 0u) << report;
}

}  // namespace
