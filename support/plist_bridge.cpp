#include "support/plist_bridge.h"

#include <plist/plist.h>

#include <QDateTime>
#include <QFile>
#include <QSaveFile>

#include <limits>
#include <memory>

namespace Refloom {
namespace {

using PlistPtr = std::unique_ptr<std::remove_pointer_t<plist_t>, decltype(&plist_free)>;

// libplist dates count from 2001-01-01, the Mac's reference date.
constexpr qint64 kMacEpoch = 978307200;

QVariant toVariant(plist_t node) {
    switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
        uint8_t value = 0;
        plist_get_bool_val(node, &value);
        return bool(value);
    }
    case PLIST_UINT: {
        uint64_t value = 0;
        plist_get_uint_val(node, &value);
        if (value > uint64_t(std::numeric_limits<qint64>::max())) return quint64(value);
        return qint64(value);
    }
    case PLIST_REAL: {
        double value = 0;
        plist_get_real_val(node, &value);
        return value;
    }
    case PLIST_STRING: {
        // By its length: a string may hold a NUL byte, which libplist's copying getter asserts
        // against, ending the program on a crafted file.
        uint64_t length = 0;
        char const* text = plist_get_string_ptr(node, &length);
        return QString::fromUtf8(text, text ? qsizetype(length) : 0);
    }
    case PLIST_DATA: {
        char* bytes = nullptr;
        uint64_t length = 0;
        plist_get_data_val(node, &bytes, &length);
        QByteArray value(bytes, qsizetype(length));
        free(bytes);
        return value;
    }
    case PLIST_DATE: {
        int32_t seconds = 0, microseconds = 0;
        plist_get_date_val(node, &seconds, &microseconds);
        return QDateTime::fromMSecsSinceEpoch((kMacEpoch + seconds) * 1000 + microseconds / 1000, Qt::UTC);
    }
    case PLIST_ARRAY: {
        QVariantList list;
        for (uint32_t i = 0, n = plist_array_get_size(node); i < n; ++i)
            list.append(toVariant(plist_array_get_item(node, i)));
        return list;
    }
    case PLIST_DICT: {
        QVariantMap map;
        plist_dict_iter it = nullptr;
        plist_dict_new_iter(node, &it);
        for (;;) {
            char* key = nullptr;
            plist_t value = nullptr;
            plist_dict_next_item(node, it, &key, &value);
            if (!key) break;
            map.insert(QString::fromUtf8(key), toVariant(value));
            free(key);
        }
        free(it);
        return map;
    }
    default: return {};
    }
}

plist_t fromVariant(QVariant const& value) {
    switch (value.typeId()) {
    case QMetaType::Bool: return plist_new_bool(value.toBool());
    case QMetaType::Int:
    case QMetaType::LongLong:
    case QMetaType::UInt:
    case QMetaType::ULongLong: return plist_new_uint(value.toULongLong());
    case QMetaType::Double: return plist_new_real(value.toDouble());
    case QMetaType::QString: return plist_new_string(value.toString().toUtf8().constData());
    case QMetaType::QByteArray: {
        QByteArray bytes = value.toByteArray();
        return plist_new_data(bytes.constData(), uint64_t(bytes.size()));
    }
    case QMetaType::QDateTime: {
        qint64 msecs = value.toDateTime().toMSecsSinceEpoch() - kMacEpoch * 1000;
        return plist_new_date(int32_t(msecs / 1000), int32_t(msecs % 1000) * 1000);
    }
    case QMetaType::QStringList:
    case QMetaType::QVariantList: {
        plist_t array = plist_new_array();
        for (QVariant const& item : value.toList()) {
            plist_t node = fromVariant(item);
            if (!node) {
                plist_free(array);
                return nullptr;
            }
            plist_array_append_item(array, node);
        }
        return array;
    }
    case QMetaType::QVariantMap: {
        plist_t dict = plist_new_dict();
        QVariantMap const map = value.toMap();
        for (auto it = map.begin(); it != map.end(); ++it) {
            plist_t node = fromVariant(it.value());
            if (!node) {
                plist_free(dict);
                return nullptr;
            }
            plist_dict_set_item(dict, it.key().toUtf8().constData(), node);
        }
        return dict;
    }
    default: return nullptr;
    }
}

} // namespace

QVariant plistFromBytes(QByteArray const& bytes) {
    if (bytes.isEmpty() || bytes.size() > std::numeric_limits<uint32_t>::max()) return {};
    plist_t root = nullptr;
    plist_from_memory(bytes.constData(), uint32_t(bytes.size()), &root);
    if (!root) return {};
    PlistPtr owner(root, plist_free);
    return toVariant(root);
}

QVariant readPlistFile(QString const& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return {};
    return plistFromBytes(file.readAll());
}

QByteArray plistToXml(QVariant const& value) {
    plist_t root = fromVariant(value);
    if (!root) return {};
    PlistPtr owner(root, plist_free);
    char* xml = nullptr;
    uint32_t length = 0;
    plist_to_xml(root, &xml, &length);
    QByteArray text(xml, qsizetype(length));
    free(xml);
    return text;
}

bool writePlistFile(QString const& path, QVariant const& value) {
    QByteArray const xml = plistToXml(value);
    if (xml.isEmpty()) return false;
    QSaveFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(xml) == xml.size() && file.commit();
}

} // namespace Refloom
