#include <gtest/gtest.h>

#include <QApplication>
#include <QWidget>
#include <QtTest/QTest>

#include "tests/fixtures/scratch.h"
#include "tests/ui/offscreen_app.h"
#include "ui/rf_help_context.h"

using namespace Refloom;

namespace {

// Tables of the test's own, and every URL the help would open.
struct Help {
    rf_test::Scratch scratch;
    QList<QUrl> opened;
    RFHelpContext help;

    Help()
        : help((write(), QString::fromStdString(scratch.root().string())), "https://docs.example",
               [this](QUrl const& url) {
                   opened.append(url);
                   return true;
               }) {}
    void write() {
        scratch.write("ContextMap.strings", "/* topics */\n\"Patcher\" = \"UPDATER\";\n\"Lost\" = \"NOLINK\";\n\"Home\" = \"TOC\";\n");
        scratch.write("ContextLinksMap.strings", "\"UPDATER\" = \"Updating_Refloom.HTM\";\n");
    }
};

} // namespace

TEST(Help, TopicsMapToPagesWithTheirFallbacks) {
    Help h;
    struct Case {
        char const* topic;
        char const* url;
    };
    Case const cases[] = {
        {"Patcher", "https://docs.example/docs/refloom/2025/macos/v1/updating_refloom.htm"},  // lower-cased
        {"Lost", "https://docs.example/docs/refloom/2025/macos/v1/index.htm"},                // no link
        {"Home", "https://docs.example/docs/refloom/2025/v1/macos/en/index.htm"},            // "TOC"
        {"Unknown", "https://docs.example/docs/refloom/2025/v1/macos/en/index.htm"},
    };
    for (Case const& c : cases) EXPECT_EQ(h.help.pageFor(c.topic).toString(), QString(c.url)) << c.topic;
}

TEST(Help, F1OpensTheFrontWindowsTopic) {
    rf_test::offscreenApplication();
    Help h;
    EXPECT_FALSE(h.help.onHelpbutton());  // no window: nothing opens
    h.help.install();
    QWidget window;
    window.setWindowTitle("Unknown title");
    window.setProperty("secretIdentity", "Patcher");
    window.show();
    QApplication::setActiveWindow(&window);
    QTest::keyClick(&window, Qt::Key_F1);
    ASSERT_EQ(h.opened.size(), 1);
    EXPECT_TRUE(h.opened[0].path().endsWith("updating_refloom.htm"));
    window.setProperty("secretIdentity", QVariant());  // no topic of its own: its title, unknown
    EXPECT_TRUE(h.help.onHelpbutton());
    EXPECT_TRUE(h.opened.last().path().endsWith("/en/index.htm"));
    EXPECT_TRUE(h.help.onHelpContents());
    qApp->removeEventFilter(&h.help);
}
