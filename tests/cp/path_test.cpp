#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "cp/exception.h"
#include "cp/file_type.h"
#include "cp/path.h"
#include "tests/fixtures/scratch.h"

using namespace Lumenary::CP;
using rf_test::Scratch;

namespace {

std::wstring item(CPath const& path, CPath::pathItem which) {
    std::wstring out;
    path.copy_unicode_item(which, out);
    return out;
}

} // namespace

TEST(Path, ItemsOfPaths) {
    struct Case {
        wchar_t const* path;
        wchar_t const *name, *parent, *volume, *extension, *bare;
    };
    Case const cases[] = {
        {L"/Users/x/Caf\u00e9.tar.gz", L"Caf\u00e9.tar.gz", L"/Users/x", L"", L".gz", L"gz"},
        {L"/a/b/", L"b", L"/a", L"", L"", L""},
        {L"/a//b", L"b", L"/a", L"", L"", L""},
        {L"/a", L"a", L"/", L"", L"", L""},
        {L"/", L"/", L"/", L"", L"", L""},
        {L"relative", L"relative", L".", L"relative", L"", L""},
        {L"dir/.hidden", L".hidden", L"dir", L"dir", L"", L""},
        {L"Disk:Folder:File", L"Disk:Folder:File", L".", L"Disk", L"", L""},
    };
    for (Case const& c : cases) {
        CPath path(c.path);
        EXPECT_EQ(item(path, CPath::item_whole), c.path);
        EXPECT_EQ(item(path, CPath::item_name), c.name) << c.path;
        EXPECT_EQ(item(path, CPath::item_parent), c.parent) << c.path;
        EXPECT_EQ(item(path, CPath::item_volume), c.volume) << c.path;
        EXPECT_EQ(item(path, CPath::item_extension), c.extension) << c.path;
        EXPECT_EQ(item(path, CPath::item_extension_bare), c.bare) << c.path;
    }
}

TEST(Path, EmptyOrMissingPathHasNothing) {
    CPath empty;
    for (int i = CPath::item_whole; i <= CPath::item_url; ++i)
        EXPECT_EQ(item(empty, CPath::pathItem(i)), L"") << i;
    EXPECT_FALSE(empty.exists());
    EXPECT_FALSE(empty.is_directory());
    EXPECT_TRUE(CPath(static_cast<char const*>(nullptr)).empty());
    EXPECT_TRUE(CPath("bad \xFF utf-8").empty());
    Scratch scratch;
    EXPECT_FALSE(CPath(scratch / "missing").exists());
    EXPECT_TRUE(CPath(scratch.write("f.txt", "x")).exists());
}

TEST(Path, ItemGettersLeaveOutputAloneWhenNothingIsThere) {
    CPath out(L"untouched");
    CPath(L"/a/file.txt").get_item(CPath::item_url, out);
    CPath(L"/a/noext").get_item(CPath::item_extension, out);
    EXPECT_EQ(out.str(), L"untouched");
    // No extension: none at all, a hidden name, a trailing dot, a dot only in a folder's name.
    for (wchar_t const* lacking : {L"/a/noext", L"dir/.hidden", L"/a/trailing.", L"/a.d/b/"}) {
        std::wstring wide = L"untouched";
        std::string narrow = "untouched";
        CPath(lacking).copy_unicode_item(CPath::item_extension, wide);
        CPath(lacking).copy_ansi_item(CPath::item_extension_bare, narrow, enc_utf8);
        EXPECT_EQ(wide, L"untouched") << lacking;
        EXPECT_EQ(narrow, "untouched") << lacking;
    }
    std::string narrow;
    CPath(L"/a/Caf\u00e9.txt").copy_ansi_item(CPath::item_name, narrow, enc_utf8);
    EXPECT_EQ(narrow, "Caf\xC3\xA9.txt");
    EXPECT_EQ(CPath(L"/a/noext").as_item(CPath::item_extension).str(), L"/a/noext");
}

TEST(Path, UrlComesFromTheHfsReadingOfThePath) {
    EXPECT_EQ(item(CPath(L"Macintosh HD:Users:x y:\u00e9"), CPath::item_url),
              L"file:///Users/x%20y/%C3%A9");
    // A POSIX path read as HFS is one relative name whose slashes become colons.
    EXPECT_EQ(item(CPath(L"/tmp/a"), CPath::item_url), L":tmp:a");
    Scratch scratch;
    std::filesystem::create_directory(scratch / "Folder");
    std::wstring folder_url = item(CPath(scratch / "Folder"), CPath::item_url);
    EXPECT_EQ(folder_url.back(), L'/');
}

TEST(Path, PascalStringsAndHfsPaths) {
    auto pascal = [](std::string const& text) {
        static unsigned char buffer[256];
        buffer[0] = static_cast<unsigned char>(text.size());
        std::copy(text.begin(), text.end(), buffer + 1);
        return buffer;
    };
    EXPECT_TRUE(CPath(pascal(""), false).empty());
    EXPECT_EQ(CPath(pascal("Macintosh HD:Users"), true).str(), L"/Users");
    EXPECT_EQ(CPath(pascal("Macintosh HD:Users:a/b:"), true).str(), L"/Users/a:b");
    EXPECT_EQ(CPath(pascal(":a:b"), true).str(), L"a/b");
    EXPECT_EQ(CPath(pascal("::a"), true).str(), L"../a");
    EXPECT_EQ(CPath(pascal(std::string(255, 'x')), false).str(), std::wstring(255, L'x'));
}

TEST(Path, AppendJoinsWithOneSlash) {
    EXPECT_EQ(CPath("/a").append("b").str(), L"/a/b");
    EXPECT_EQ(CPath("/a/").append(L"b").str(), L"/a/b");
    EXPECT_EQ((CPath("/a") += std::string("\xC3\xA9")).str(), L"/a/\u00e9");
    EXPECT_EQ(CPath("rel").append(CPath("x")).str(), L"rel/x");
    EXPECT_EQ(CPath().append("b").str(), L"");
}

TEST(Path, FileTypeByExtensionThenByFile) {
    Scratch scratch;
    CFileType type(fourcc("ABCD"));
    CPath(L"/nowhere/photo.JPG").get_filetype(type);
    EXPECT_EQ(type.get_type(), fourcc("JPEG"));

    type.set_type(fourcc("ABCD"));
    CPath(L"/nowhere/file.xyz").get_filetype(type);
    EXPECT_EQ(type.get_type(), fourcc("ABCD"));  // unknown and not there: no type
    CPath(scratch.write("file.xyz", "")).get_filetype(type);
    EXPECT_TRUE(type.is_unknown_type());  // there, but its extension is unregistered
}

TEST(SystemPath, UserFoldersLiveUnderHomeAndAreCreated) {
    Scratch scratch;
    std::string const saved = std::getenv("HOME") ? std::getenv("HOME") : "";
    setenv("HOME", (scratch / "home").c_str(), 1);
    CSystemPath preferences(CSystemPath::user_preferences);
    CSystemPath beyond(CSystemPath::pathType(11));
    setenv("HOME", saved.c_str(), 1);

    EXPECT_EQ(static_cast<CPath const&>(preferences), CPath(scratch / "home/Library/Preferences"));
    EXPECT_TRUE(preferences.is_directory());
    EXPECT_TRUE(beyond.empty());
}

TEST(SystemPath, ApplicationIsTheRunningExecutableOutsideABundle) {
    char buffer[4096];
    ssize_t length = readlink("/proc/self/exe", buffer, sizeof buffer - 1);
    ASSERT_GT(length, 0);
    buffer[length] = '\0';
    EXPECT_EQ(CSystemPath(CSystemPath::app_bundle).str(), CPath(buffer).str());
    EXPECT_EQ(CSystemPath(CSystemPath::app_folder).str(), CPath(buffer).as_item(CPath::item_parent).str());
}

TEST(FSRefConverter, StatusesAndRaises) {
    for (auto [path, status] : {std::pair{CPath(), -43}, {CPath(std::wstring(1, wchar_t(0xD800))), -8764}, {CPath("/no/such/item"), -43}}) {
        CFSRefConverter converter{path};
        EXPECT_THROW((void)static_cast<FSRef const&>(converter), CException);
        EXPECT_EQ(converter.status(), status);
    }
}

TEST(FSRefConverter, ResolvesLinksAndNoticesAReplacedItem) {
    Scratch scratch;
    std::string file = scratch.write("real/f.txt", "x");
    std::filesystem::create_directory_symlink(scratch / "real", scratch / "link");
    CFSRefConverter by_path{CPath(scratch / "link/f.txt")};
    FSRef ref = by_path;
    EXPECT_EQ(ref.path, std::filesystem::canonical(file).string());
    EXPECT_EQ(by_path.status(), 0);

    FSSpec location;
    ASSERT_TRUE(by_path.get_fsspec(location));
    EXPECT_EQ(location.name, "f.txt");

    CFSRefConverter by_ref(ref);
    EXPECT_EQ(static_cast<CPath const&>(by_ref).str(), CPath(ref.path).str());

    // Another file takes the name; it was made while the first lived, so its inode differs.
    std::filesystem::rename(scratch.write("real/other.txt", "y"), file);
    CFSRefConverter stale(ref);
    EXPECT_THROW((void)static_cast<CPath const&>(stale), CException);
    EXPECT_EQ(stale.status(), -43);
}
