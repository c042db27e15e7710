#include "support/local_string.h"

#include <atomic>
#include <memory>

#include "cp/string_converter.h"

namespace Common {
namespace {

// English texts of the keys the archive code builds its messages from.
LocalStringTable const kEnglish = {
    {"IDS_BEGIN_PROGRESS_EXTRACTING", "Extracting"},
    {"IDS_MAX_PATH_ERROR", " paths were too long for this system and were not extracted."},
    {"IDS_UNABLE_OPEN_FILE", "Unable to open file"},
    {"IDS_ERROR_WRITING_FILE", "Error writing file"},
    {"IDS_ZIP_INTERNAL_ERROR", "Internal error while reading the zip archive."},
    {"IDS_ZIP_BAD_ZIPFILE", "The file is not a valid zip archive."},
    {"IDS_ZIP_PARAM_ERROR", "Invalid parameter while reading the zip archive."},
    {"IDS_ZIP_ERROR_NO", "Error while reading the zip archive."},
    {"IDS_ZIP_CREATE_DIR_ERR", "Unable to create folder \""},
    {"IDS_ZIP_MODE_CREATE_ERR", "Unable to open the archive ("},
    {"IDS_ZIP_MODE_OPEN_ERR", "Unable to open the archive ("},
    {"IDS_ZIP_UNSAFE_ENTRY", "Refused to extract an entry that leads outside the destination:"},
};

std::atomic<std::shared_ptr<LocalStringTable const>>& current_table() {
    static std::atomic<std::shared_ptr<LocalStringTable const>> table{
        std::make_shared<LocalStringTable const>(kEnglish)};
    return table;
}

} // namespace

std::string LocalString(char const* key) {
    if (!key) return {};
    std::shared_ptr<LocalStringTable const> table = current_table().load();
    auto found = table->find(std::string_view(key));
    return found == table->end() ? std::string() : found->second;
}

std::wstring wLocalString(char const* key) {
    return Lumenary::CP::CStringConverter(LocalString(key), Lumenary::CP::enc_utf8, 1252);
}

void SetLocalStringTable(LocalStringTable table) {
    current_table().store(std::make_shared<LocalStringTable const>(std::move(table)));
}

LocalStringTable const& DefaultLocalStringTable() { return kEnglish; }

} // namespace Common
