#include <gtest/gtest.h>

#include "support/local_string.h"

TEST(LocalString, DefaultTableHoldsTheArchiveKeys) {
    for (char const* key : {"IDS_BEGIN_PROGRESS_EXTRACTING", "IDS_MAX_PATH_ERROR", "IDS_UNABLE_OPEN_FILE",
                            "IDS_ERROR_WRITING_FILE", "IDS_ZIP_INTERNAL_ERROR", "IDS_ZIP_BAD_ZIPFILE",
                            "IDS_ZIP_PARAM_ERROR", "IDS_ZIP_ERROR_NO", "IDS_ZIP_CREATE_DIR_ERR",
                            "IDS_ZIP_MODE_CREATE_ERR", "IDS_ZIP_MODE_OPEN_ERR"})
        EXPECT_FALSE(Common::LocalString(key).empty()) << key;
    EXPECT_EQ(Common::LocalString("IDS_NO_SUCH_KEY"), "");
    EXPECT_EQ(Common::LocalString(nullptr), "");
}

TEST(LocalString, ApplicationTableReplacesTheDefault) {
    Common::SetLocalStringTable({{"IDS_BEGIN_PROGRESS_EXTRACTING", "Entpacken \xE2\x80\xA6"}});
    EXPECT_EQ(Common::wLocalString("IDS_BEGIN_PROGRESS_EXTRACTING"), L"Entpacken \u2026");
    EXPECT_EQ(Common::LocalString("IDS_ZIP_ERROR_NO"), "");
    Common::SetLocalStringTable(Common::DefaultLocalStringTable());
    EXPECT_EQ(Common::LocalString("IDS_BEGIN_PROGRESS_EXTRACTING"), "Extracting");
}
