// Walks application folders the way the system's application registry sees them: every entry
// in name order, never entering a folder whose extension marks it closed.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <functional>

namespace Refloom {

struct ScanEntry {
    QString path;  // full path
    QString name;
    bool isFolder;  // links are followed for this
};

// Extensions (with the dot) of the folders a walk leaves closed. A search by name looks inside
// plug-ins and frameworks; a search for applications has no reason to enter any bundle.
inline QStringList applicationAndPlugInBundles() {
    return {QStringLiteral(".app"), QStringLiteral(".bundle")};
}
inline QStringList allBundles() {
    return applicationAndPlugInBundles()
           << QStringLiteral(".plugin") << QStringLiteral(".framework");
}

// Calls `visit` for every entry below `folder`, depth first. A folder is entered unless its name
// ends with one of `closed` or it is a link. Unreadable folders are passed over.
void scanFolder(QString const& folder, QStringList const& closed,
                std::function<void(ScanEntry const&)> const& visit);

// The bytes of a bundle's Info.plist (Contents/Info.plist); empty when there is none or it is
// not a regular file (a planted FIFO or device must not stall a lookup).
QByteArray readInfoPlist(QString const& bundle);

} // namespace Refloom
