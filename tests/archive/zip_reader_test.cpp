#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "archive/zip_io.h"
#include "archive/zip_reader.h"
#include "tests/archive/zip_maker.h"
#include "tests/fixtures/scratch.h"

using rf_test::read_file;
using rf_test::Scratch;
namespace fs = std::filesystem;

namespace {

std::wstring wide(std::string const& text) { return Lumenary::CP::CPath(text).str(); }

// Unzips `archive` into `destination` and answers Unzip's result.
bool unzip(std::string const& archive, std::string const& destination, LMServices::IProgress* sink = nullptr) {
    CZipReader reader(sink);
    if (!reader.Open(wide(archive).c_str())) throw std::runtime_error("not a zip: " + archive);
    return reader.Unzip(wide(destination).c_str());
}

// Zips the contents of `folder` with the zip tool.
std::string zip_folder(Scratch const& scratch, std::string const& folder) {
    std::string archive = scratch / (folder + ".zip");
    EXPECT_EQ(rf_test::run("cd '" + (scratch / folder) + "' && zip -q -r '" + archive + "' ."), 0);
    return archive;
}

std::string failure_of(std::string const& archive, std::string const& destination) {
    try {
        unzip(archive, destination);
    } catch (std::ios_base::failure const& e) {
        return e.what();
    }
    return "no failure";
}

class RecordingSink : public LMServices::IProgress {
public:
    unsigned long AddRef() override { return ++refs; }
    unsigned long Release() override { return --refs; }
    void BeginTask(long minimum, long maximum, wchar_t const* text) override { range = {minimum, maximum}; caption = text; }
    void SetCaption(wchar_t const*) override {}
    void EndTask() override { ++ends; }
    long GetPosition() const override { return positions.empty() ? 0 : positions.back(); }
    bool SetPosition(int position) override { positions.push_back(position); return !cancel; }

    unsigned long refs = 0;
    std::pair<long, long> range;
    std::wstring caption;
    std::vector<int> positions;
    int ends = 0;
    bool cancel = false;
};

} // namespace

TEST(ZipReader, ExtractsFoldersFilesAndUnicodeNamesMadeByTheZipTool) {
    Scratch scratch;
    std::string big(200000, '\0');
    for (size_t i = 0; i < big.size(); ++i) big[i] = char(i * 7 % 251);
    scratch.write("src/a/b/c.txt", "c");
    scratch.write("src/\xC3\xBCn\xC3\xAF c\xC3\xB6" "d\xC3\xA9 'q'.txt", "unicode");
    scratch.write("src/big.bin", big);
    fs::create_directories(scratch / "src/empty folder");
    ASSERT_TRUE(unzip(zip_folder(scratch, "src"), scratch / "out"));

    EXPECT_EQ(read_file(scratch / "out/a/b/c.txt"), "c");
    EXPECT_EQ(read_file(scratch / "out/\xC3\xBCn\xC3\xAF c\xC3\xB6" "d\xC3\xA9 'q'.txt"), "unicode");
    EXPECT_EQ(read_file(scratch / "out/big.bin"), big);
    EXPECT_TRUE(fs::is_directory(scratch / "out/empty folder"));
}

TEST(ZipReader, SkipsEmptyNamesAndWritesNoFileForFolderEntries) {
    Scratch scratch;
    std::string archive = scratch / "t.zip";
    rf_test::make_zip(archive, {{"", "ignored"}, {"folder/", ""}, {"folder/f.txt", "F"}});
    ASSERT_TRUE(unzip(archive, scratch / "out"));
    EXPECT_TRUE(fs::is_directory(scratch / "out/folder"));
    EXPECT_EQ(read_file(scratch / "out/folder/f.txt"), "F");
    EXPECT_EQ(std::distance(fs::directory_iterator(scratch / "out"), fs::directory_iterator()), 1);
}

TEST(ZipReader, RefusesEntriesThatLeaveTheDestinationOrWriteThroughALink) {
    for (std::string name : {"../evil.txt", "a/../../evil.txt", "/tmp/rf-evil-absolute.txt", "link/x.txt", "file-link"}) {
        Scratch scratch;
        std::string archive = scratch / "hostile.zip";
        rf_test::make_zip(archive, {{"good.txt", "g"}, {name, "evil"}});
        std::string outside = scratch.write("outside/target", "precious");
        fs::create_directories(scratch / "out");
        fs::create_directory_symlink(scratch / "outside", scratch / "out/link");
        fs::create_symlink(outside, scratch / "out/file-link");
        std::string message = failure_of(archive, scratch / "out");
        EXPECT_NE(message.find("\"" + name + "\""), std::string::npos) << message;
        EXPECT_FALSE(fs::exists(scratch / "evil.txt")) << name;
        EXPECT_FALSE(fs::exists("/tmp/rf-evil-absolute.txt")) << name;
        EXPECT_FALSE(fs::exists(scratch / "outside/x.txt")) << name;
        EXPECT_EQ(read_file(outside), "precious") << name;
    }
}

TEST(ZipReader, DamagedArchives) {
    Scratch scratch;
    scratch.write("src/data.txt", std::string(100000, 'x') + "tail");
    std::string archive = zip_folder(scratch, "src");
    std::string bytes = read_file(archive);

    std::string truncated = scratch.write("truncated.zip", bytes.substr(0, bytes.size() / 2));
    CZipReader reader(nullptr);
    EXPECT_FALSE(reader.Open(wide(truncated).c_str()));

    std::string corrupt_bytes = bytes;
    for (size_t i = 60; i < 90; ++i) corrupt_bytes[i] = char(~corrupt_bytes[i]);
    std::string corrupt = scratch.write("corrupt.zip", corrupt_bytes);
    std::string message = failure_of(corrupt, scratch / "out");
    EXPECT_NE(message.find("\r(" + corrupt + ")"), std::string::npos) << message;
}

TEST(ZipReader, OpenRaisesForAFileItCannotOpenAndRefusesOtherFiles) {
    Scratch scratch;
    CZipReader reader(nullptr);
    try {
        reader.Open(L"/no/such/archive.zip");
        ADD_FAILURE() << "opening a missing file must raise";
    } catch (std::ios_base::failure const& e) {
        EXPECT_NE(std::string(e.what()).find("/no/such/archive.zip)"), std::string::npos) << e.what();
    }
    EXPECT_FALSE(reader.Open(wide(scratch.write("plain.txt", "not a zip")).c_str()));
}

TEST(ZipReader, ReportsProgressHoldsItsSinkCountedAndStopsWhenItCancels) {
    Scratch scratch;
    scratch.write("src/one.bin", std::string(100000, '1'));
    scratch.write("src/two.bin", std::string(50000, '2'));
    std::string archive = zip_folder(scratch, "src");
    RecordingSink sink;
    {
        CZipReader reader(&sink);
        EXPECT_EQ(sink.refs, 1u);
        ASSERT_TRUE(reader.Open(wide(archive).c_str()));
        ASSERT_TRUE(reader.Unzip(wide(scratch / "out").c_str()));
    }
    EXPECT_EQ(sink.refs, 0u);
    EXPECT_EQ(sink.range, std::make_pair(0L, 100L));
    EXPECT_EQ(sink.caption, L"Extracting src.zip...");
    ASSERT_FALSE(sink.positions.empty());
    EXPECT_TRUE(std::is_sorted(sink.positions.begin(), sink.positions.end()));
    EXPECT_EQ(sink.positions.back(), 100);
    EXPECT_EQ(sink.ends, 1);
    // A total under 100 shows no progress; one past 32 bits still scales.
    EXPECT_EQ(ScaleProgressValue(50, 99), 0);
    EXPECT_EQ(ScaleProgressValue(1LL << 40, 1LL << 40), 100);

    RecordingSink cancelling;
    cancelling.cancel = true;
    EXPECT_FALSE(unzip(archive, scratch / "again", &cancelling));
    EXPECT_EQ(cancelling.positions.size(), 1u);
    EXPECT_EQ(cancelling.ends, 0);
}

TEST(ZipDates, EntryDatesAreRestoredAndYearsAreFullOrSince1900) {
    Scratch scratch;
    scratch.write("src/dated.txt", "d");
    ASSERT_EQ(rf_test::run("touch -d '2020-06-15 12:34:56' '" + (scratch / "src/dated.txt") + "'"), 0);
    ASSERT_TRUE(unzip(zip_folder(scratch, "src"), scratch / "out"));
    EXPECT_EQ(fs::last_write_time(scratch / "out/dated.txt"), fs::last_write_time(scratch / "src/dated.txt"));

    std::wstring file = wide(scratch.write("f", ""));
    auto year_after = [&](unsigned year) {
        Lumenary::Archive::change_file_date(file.c_str(), 0, tm_unz{0, 0, 12, 15, 5, year});
        tm_zip out{};
        EXPECT_EQ(Lumenary::Archive::filetime(file.c_str(), &out, nullptr), 1);
        return out.tm_year;
    };
    EXPECT_EQ(year_after(80), 80u);
    EXPECT_EQ(year_after(2020), 120u);

    tm_zip none{};
    EXPECT_EQ(Lumenary::Archive::filetime(L"-", &none, nullptr), 0);
    EXPECT_EQ(Lumenary::Archive::filetime(L"/no/such/file", &none, nullptr), 0);
}
