#include "integrations/browser_extension.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

#include <exception>

#include "components/install_driver.h"

namespace Refloom {
namespace {

constexpr char kCaption[] = "Fernwick Extension";
constexpr char kUrlKey[] = "external_update_url";

// Host sub-modes: 32 and 36 trust the host that the extension is there, 35 asks to look.
constexpr int kHostMode = 32;
constexpr int kLookMode = 35;
constexpr int kHostModeToo = 36;

} // namespace

BrowserExtension::BrowserExtension(IntegrationContext const& context, QString updateUrl)
    : m_context(context), m_updateUrl(std::move(updateUrl)) {}

QString BrowserExtension::target() const { return m_context.root.map(QLatin1String(kExtensionFile)); }

bool BrowserExtension::present() const {
    QFileInfo const info(target());
    return info.exists() && !info.isDir();
}

QByteArray BrowserExtension::fileContent() const {
    if (m_updateUrl.isEmpty()) return {};
    QJsonObject const object{{QLatin1String(kUrlKey), m_updateUrl}};
    // Chrome reads the URL either way; unescaped it stays readable for whoever opens the file.
    return QJsonDocument(object).toJson(QJsonDocument::Compact).replace("\\/", "/");
}

int BrowserExtension::installFernwickMode(int mode, int, QString const&, QString const&) {
    int result = 0;
    try {
        m_context.logInstall(QLatin1String(kCaption), mode);
        if (mode == mode_check) {
            int const hostMode = m_context.mode();
            if (hostMode == kHostMode || hostMode == kHostModeToo)
                result = 1;
            else if (hostMode == kLookMode)
                result = present() ? 1 : 0;
        } else if (mode == mode_copy) {
            result = copy();
        } else if (mode == mode_remove) {
            result = remove();
        }
    } catch (std::exception const& error) {
        m_context.log.logException(QString::fromUtf8(error.what()));
    }
    return result;
}

int BrowserExtension::copy() {
    QByteArray const content = fileContent();
    if (content.isEmpty()) {
        m_context.log.logMessage(
            QStringLiteral("Fernwick: no update URL is configured; nothing written"));
        return 0;
    }
    QString const destination = target();
    // Staged in the user's own temporary folder, then put in place as administrator.
    QString const staged = QDir::tempPath() + QLatin1Char('/') + QFileInfo(destination).fileName();
    QSaveFile file(staged);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size() ||
        !file.commit()) {
        m_context.log.logMessage(
            QStringLiteral("Fernwick: cannot write %1: %2").arg(staged, file.errorString()));
        return 0;
    }
    QString const folder = QFileInfo(destination).path();
    ToolTable const& tools = m_context.runner.tools();
    // The folder and everything in it are given to the administrator again on every install.
    for (ToolCall const& call :
         {tools.call(FileTool::make_dir, folder), tools.call(FileTool::change_owner_tree, folder),
          tools.call(FileTool::copy, staged, destination),
          tools.call(FileTool::change_owner, destination)})
        m_context.runner.launchRootApp(call.tool, call.arguments);
    int const result = present() ? 1 : 0;
    QFile::remove(staged);
    return result;
}

int BrowserExtension::remove() {
    QString const destination = target();
    if (present()) {
        ToolCall const call = m_context.runner.tools().call(FileTool::remove_file, destination);
        m_context.runner.launchRootApp(call.tool, call.arguments);
    }
    // A folder standing there is left, and counts as not removed.
    QFileInfo const left(destination);
    return left.exists() || left.isSymLink() ? 0 : 1;
}

bool BrowserExtension::useChromeStore() const {
    if (!present()) return true;
    QFile file(target());
    if (!file.open(QIODevice::ReadOnly)) {
        m_context.log.logMessage(
            QStringLiteral("Fernwick: cannot read %1: %2").arg(target(), file.errorString()));
        return true;
    }
    QJsonParseError error;
    QJsonDocument const document = QJsonDocument::fromJson(file.readAll(), &error);
    if (error.error != QJsonParseError::NoError) {
        m_context.log.logMessage(QStringLiteral("Fernwick: %1 is not JSON (%2 at %3)")
                                     .arg(target(), error.errorString())
                                     .arg(error.offset));
        return true;
    }
    QJsonValue const url = document.object().value(QLatin1String(kUrlKey));
    // Only a text URL that does not name google.com points away from the store; a missing or
    // odd member is taken for the store.
    return !url.isString() || url.toString().contains(QLatin1String("google.com"));
}

} // namespace Refloom
