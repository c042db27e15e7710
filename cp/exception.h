// The portable library's one exception type. Most operations answer false or empty text;
// only the few documented ones raise, and every raise the library makes carries code 0.
#pragma once

#include <cstdint>
#include <exception>
#include <string>

namespace Lumenary::CP {

class CException : public std::exception {
public:
    enum : std::uint32_t {
        null_pointer = 0,  // "Attempt to access a NULL pointer."
        low_memory = 1,    // "Memory is too low to complete the operation."
        small_buffer = 2,  // "Buffer is too small to hold requested data."
        bad_params = 3,    // "Bad params were used."
    };

    explicit CException(std::uint32_t code) noexcept : m_code(code) {}

    std::uint32_t code() const noexcept { return m_code; }
    // Message for the code; empty for codes the library does not define.
    const char* what() const noexcept override;
    const wchar_t* whatw() const noexcept;

private:
    std::uint32_t m_code;
};

} // namespace Lumenary::CP
