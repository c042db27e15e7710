// libFuzzer target for the property-list bridge, which reads the preferences file: whatever
// the bytes, reading answers a value or nothing, and what it answers writes back and reads
// again as the same value.
#include <cstdint>
#include <cstdlib>

#include "support/plist_bridge.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, size_t size) {
    QVariant const value = Refloom::plistFromBytes(QByteArray(reinterpret_cast<char const*>(data), qsizetype(size)));
    if (!value.isValid()) return 0;
    QByteArray const xml = Refloom::plistToXml(value);
    if (!xml.isEmpty() && !Refloom::plistFromBytes(xml).isValid()) std::abort();
    return 0;
}
