#include "ui/window_files.h"

#include <syslog.h>

#include <QFile>
#include <QUiLoader>

namespace Refloom {

std::unique_ptr<QWidget> loadWindowFile(QString const& path, QWidget* parent) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return nullptr;
    QUiLoader loader;
    return std::unique_ptr<QWidget>(loader.load(&file, parent));
}

void systemLogLine(QString const& line) { syslog(LOG_NOTICE, "%s", line.toUtf8().constData()); }

} // namespace Refloom
