#include "support/process_id.h"

#include <sys/random.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

namespace {

constexpr int kUuidTextLength = 36;

bool is_dash_position(int i) { return i == 8 || i == 13 || i == 18 || i == 23; }

int hex_value(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

} // namespace

extern "C" {

bool cpprocess_id(ProcessSerialNumber* psn) {
    if (!psn) return false;
    psn->highLongOfPSN = 0;
    psn->lowLongOfPSN = static_cast<std::uint32_t>(getpid());
    return true;
}

bool cpprocess_uuid(uuid* out) {
    if (!out) return false;
    uuid value;
    if (getrandom(value.bytes, sizeof value.bytes, 0) != static_cast<ssize_t>(sizeof value.bytes))
        return false;
    value.bytes[6] = static_cast<unsigned char>((value.bytes[6] & 0x0F) | 0x40);  // version 4
    value.bytes[8] = static_cast<unsigned char>((value.bytes[8] & 0x3F) | 0x80);  // RFC 4122
    *out = value;
    return true;
}

bool cpprocess_uuid_to_string(uuid value, char* buffer, int size) {
    if (!buffer || size < kUuidTextLength + 1) return false;
    char* out = buffer;
    for (int i = 0; i < 16; ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) *out++ = '-';
        std::snprintf(out, 3, "%02X", value.bytes[i]);
        out += 2;
    }
    *out = '\0';
    return true;
}

bool cpprocess_uuid_from_string(char const* text, uuid* out) {
    if (!text || !out || std::strlen(text) != kUuidTextLength) return false;
    uuid value;
    int byte = 0;
    for (int i = 0; i < kUuidTextLength; ++i) {
        if (is_dash_position(i)) {
            if (text[i] != '-') return false;
            continue;
        }
        int high = hex_value(text[i]);
        int low = hex_value(text[i + 1]);
        if (high < 0 || low < 0 || is_dash_position(i + 1)) return false;
        value.bytes[byte++] = static_cast<unsigned char>(high << 4 | low);
        ++i;
    }
    *out = value;
    return true;
}

bool cpprocess_uuid_compare(uuid a, uuid b) {
    return std::memcmp(a.bytes, b.bytes, sizeof a.bytes) == 0;
}
}
