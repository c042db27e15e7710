// The running process's identity and UUIDs, as small C functions the portable code can call.
#pragma once

#include <cstdint>

extern "C" {

// Identifies a process. Here the low word is the POSIX process id and the high word is 0.
struct ProcessSerialNumber {
    std::uint32_t highLongOfPSN;
    std::uint32_t lowLongOfPSN;
};

struct uuid {
    unsigned char bytes[16];
};

// False for a null argument.
bool cpprocess_id(ProcessSerialNumber* psn);
// A new random (version 4) UUID.
bool cpprocess_uuid(uuid* out);
// The canonical form: 36 upper-case hexadecimal characters in groups 8-4-4-4-12, so the buffer
// needs 37 bytes; false when it is null or too small.
bool cpprocess_uuid_to_string(uuid value, char* buffer, int size);
// Reads the canonical form in either case; false for null arguments or any other text.
bool cpprocess_uuid_from_string(char const* text, uuid* out);
// True when all 16 bytes are equal.
bool cpprocess_uuid_compare(uuid a, uuid b);
}
