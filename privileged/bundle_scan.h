// Walks application folders the way the system's application registry sees them: every entry
// in name order, never entering a bundle (".app", ".bundle", ".plugin", ".framework").
#pragma once

#include <QByteArray>
#include <QString>

#include <functional>

namespace Refloom {

struct ScanEntry {
    QString path;  // full path
    QString name;
    bool isFolder;  // links are followed for this
};

// Calls `visit` for every entry below `folder`, depth first. A folder is entered unless it is a
// bundle or a link. Unreadable folders are passed over.
void scanFolder(QString const& folder, std::function<void(ScanEntry const&)> const& visit);

// True for a name whose extension marks a bundle the walk does not enter.
bool isBundleName(QString const& name);

// The bytes of a bundle's Info.plist (Contents/Info.plist); empty when there is none.
QByteArray readInfoPlist(QString const& bundle);

} // namespace Refloom
