// Help: turns a request for help (F1 anywhere, the help button, the context-help mode) into a
// page of the online documentation opened in the desktop's browser. The front window names its
// topic in a "secretIdentity" property (else its title); "ContextMap.strings" maps a topic to an
// identifier ("TOC" when missing), "ContextLinksMap.strings" an identifier to a page
// ("index.htm" when missing). The documentation host is configuration, from the Info.plist.
#pragma once

#include <QHash>
#include <QObject>
#include <QString>
#include <QUrl>

#include <functional>

class QWidget;

namespace Refloom {

class RFHelpContext : public QObject {
public:
    static constexpr char const* kContentsPath = "/docs/refloom/2025/v1/macos/en/index.htm";
    static constexpr char const* kPageBase = "/docs/refloom/2025/macos/v1/";

    // `resourceDir` holds the two tables; `host` is "https://name". `open` opens a URL; the
    // desktop's browser by default.
    RFHelpContext(QString const& resourceDir, QString host, std::function<bool(QUrl const&)> open = {});
    // The process-wide instance, made on first use with these arguments.
    static RFHelpContext& shared(QString const& resourceDir = QString(), QString const& host = QString());

    // Catches F1 and the context-help mode in the whole application.
    void install();
    bool onHelpContents();
    bool onHelpbutton();
    // The page for a topic: the contents page for an unknown topic or "TOC".
    QUrl pageFor(QString const& topic) const;

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    static QHash<QString, QString> readStrings(QString const& path);
    static QWidget* frontWindow();

    QHash<QString, QString> m_contextMap;
    QHash<QString, QString> m_linksMap;
    QString m_host;
    std::function<bool(QUrl const&)> m_open;
};

} // namespace Refloom
