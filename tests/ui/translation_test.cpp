#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QLocale>
#include <QTranslator>

#include "app/translations.h"
#include "app/window_session.h"
#include "tests/fixtures/privileged.h"
#include "tests/ui/offscreen_app.h"
#include "wizard/state_tables.h"

using namespace Refloom;

TEST(Translations, ALanguageIsOneCatalogueForTheCodeAndTheWindow) {
    rf_test::offscreenApplication();
    QLocale::setDefault(QLocale(QLocale::French));
    ASSERT_TRUE(installTranslations(RF_TEST_TRANSLATIONS));
    EXPECT_EQ(localized("Read Me"), QString("Lisez-moi"));
    EXPECT_EQ(localized("Welcome"), QString("Welcome"));  // untranslated: the English key itself
    std::unique_ptr<QtWizardView> view = loadCustomizerWindow(rf_test::bundleResources());
    ASSERT_TRUE(view);
    EXPECT_EQ(view->window()->findChild<QAbstractButton*>("cancelBtn")->text(), QString("Annuler"));
    QLocale::setDefault(QLocale(QLocale::English));
    for (QTranslator* translator : qApp->findChildren<QTranslator*>()) QCoreApplication::removeTranslator(translator);
}
