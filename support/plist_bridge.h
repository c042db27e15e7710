// Property lists (XML or binary) to and from Qt values, through libplist. Dictionaries become
// QVariantMap, arrays QVariantList, strings QString, integers qint64 (or quint64 when too large),
// reals double, booleans bool, dates QDateTime (UTC), data QByteArray.
#pragma once

#include <QString>
#include <QVariant>

namespace Refloom {

// The property list in the bytes; an invalid QVariant when they hold none (truncated, garbage).
QVariant plistFromBytes(QByteArray const& bytes);
// The property list in a file; invalid when the file cannot be read or holds none.
QVariant readPlistFile(QString const& path);
// The value as an XML property list; empty when it holds a type a property list cannot.
QByteArray plistToXml(QVariant const& value);
// Writes the value as an XML property list, atomically (a temporary file, then a rename).
bool writePlistFile(QString const& path, QVariant const& value);

} // namespace Refloom
