#include "ui/rf_help_context.h"

#include <QApplication>
#include <QDesktopServices>
#include <QFile>
#include <QKeyEvent>
#include <QRegularExpression>
#include <QWidget>

#include <memory>

namespace Refloom {

RFHelpContext::RFHelpContext(QString const& resourceDir, QString host, std::function<bool(QUrl const&)> open)
    : m_contextMap(readStrings(resourceDir + QStringLiteral("/ContextMap.strings"))),
      m_linksMap(readStrings(resourceDir + QStringLiteral("/ContextLinksMap.strings"))), m_host(std::move(host)),
      m_open(open ? std::move(open) : [](QUrl const& url) { return QDesktopServices::openUrl(url); }) {}

RFHelpContext& RFHelpContext::shared(QString const& resourceDir, QString const& host) {
    static std::unique_ptr<RFHelpContext> instance(new RFHelpContext(resourceDir, host));
    return *instance;
}

// The string table format of the resources: lines of "key" = "value"; comments and anything
// else are passed over.
QHash<QString, QString> RFHelpContext::readStrings(QString const& path) {
    QHash<QString, QString> table;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return table;
    static QRegularExpression const entry(QStringLiteral(R"re(^\s*"([^"]*)"\s*=\s*"([^"]*)"\s*;)re"));
    for (QString const& line : QString::fromUtf8(file.readAll()).split(QLatin1Char('\n')))
        if (auto match = entry.match(line); match.hasMatch()) table.insert(match.captured(1), match.captured(2));
    return table;
}

void RFHelpContext::install() { qApp->installEventFilter(this); }

bool RFHelpContext::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::KeyPress && static_cast<QKeyEvent*>(event)->key() == Qt::Key_F1) {
        onHelpbutton();
        return true;  // F1 is help's alone
    }
    if (event->type() == QEvent::EnterWhatsThisMode) onHelpbutton();
    return QObject::eventFilter(watched, event);
}

QWidget* RFHelpContext::frontWindow() {
    if (QWidget* active = QApplication::activeWindow()) return active;
    for (QWidget* window : QApplication::topLevelWidgets())
        if (window->isVisible()) return window;
    return nullptr;
}

bool RFHelpContext::onHelpContents() { return m_open(QUrl(m_host + QLatin1String(kContentsPath))); }

QUrl RFHelpContext::pageFor(QString const& topic) const {
    QString const identifier = m_contextMap.value(topic, QStringLiteral("TOC"));
    if (identifier.isEmpty() || identifier == QLatin1String("TOC")) return QUrl(m_host + QLatin1String(kContentsPath));
    QString const page = m_linksMap.value(identifier, QStringLiteral("index.htm"));
    return QUrl(m_host + QLatin1String(kPageBase) + page.toLower());
}

bool RFHelpContext::onHelpbutton() {
    QWidget* window = frontWindow();
    QString topic;
    if (window) {
        topic = window->property("secretIdentity").toString();
        if (topic.isEmpty()) topic = window->windowTitle();
    }
    if (topic.isEmpty()) return false;
    return m_open(pageFor(topic));
}

} // namespace Refloom
