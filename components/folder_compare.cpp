#include "components/folder_compare.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace Refloom {
namespace {

bool sameFile(QString const& a, QString const& b) {
    QFile first(a), second(b);
    if (first.size() != second.size() || !first.open(QIODevice::ReadOnly) || !second.open(QIODevice::ReadOnly))
        return false;
    while (!first.atEnd())
        if (first.read(1 << 16) != second.read(1 << 16)) return false;
    return true;
}

} // namespace

QStringList listing(QString const& folder) {
    return QDir(folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System, QDir::Name);
}

bool sameTree(QString const& a, QString const& b) {
    QFileInfo const first(a), second(b);
    if (first.isSymLink() || second.isSymLink())
        return first.isSymLink() && second.isSymLink() && first.symLinkTarget() == second.symLinkTarget();
    if (first.isDir() != second.isDir() || !first.exists() || !second.exists()) return false;
    if (!first.isDir()) return sameFile(a, b);
    QStringList const names = listing(a);
    if (names != listing(b)) return false;
    for (QString const& name : names)
        if (!sameTree(a + QLatin1Char('/') + name, b + QLatin1Char('/') + name)) return false;
    return true;
}

} // namespace Refloom
