// Looking at folders without changing them: the names one level down, and whether two trees
// hold the same names and bytes.
#pragma once

#include <QString>
#include <QStringList>

namespace Refloom {

// The entries of a folder, hidden ones too, in name order; empty when it cannot be read.
QStringList listing(QString const& folder);
// True when both trees hold the same entries with the same kinds and file contents (links are
// compared by their targets, never followed).
bool sameTree(QString const& a, QString const& b);

} // namespace Refloom
