#include "tests/archive/zip_maker.h"

#include <zip.h>

#include <stdexcept>

namespace rf_test {

void make_zip(std::string const& path, std::vector<ZipEntry> const& entries) {
    zipFile archive = zipOpen64(path.c_str(), APPEND_STATUS_CREATE);
    if (!archive) throw std::runtime_error("cannot create " + path);
    for (ZipEntry const& entry : entries) {
        zip_fileinfo info{};
        info.tmz_date = {0, 0, 12, 1, 0, 2021};
        if (zipOpenNewFileInZip64(archive, entry.name.c_str(), &info, nullptr, 0, nullptr, 0,
                                  nullptr, Z_DEFLATED, Z_DEFAULT_COMPRESSION, 0) != ZIP_OK ||
            zipWriteInFileInZip(archive, entry.content.data(), unsigned(entry.content.size())) != ZIP_OK ||
            zipCloseFileInZip(archive) != ZIP_OK)
            throw std::runtime_error("cannot write " + entry.name);
    }
    zipClose(archive, nullptr);
}

} // namespace rf_test
