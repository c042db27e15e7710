#include "cp/exception.h"

namespace Lumenary::CP {
namespace {

struct Message {
    const char* narrow;
    const wchar_t* wide;
};

constexpr Message kMessages[] = {
    {"Attempt to access a NULL pointer.", L"Attempt to access a NULL pointer."},
    {"Memory is too low to complete the operation.",
     L"Memory is too low to complete the operation."},
    {"Buffer is too small to hold requested data.", L"Buffer is too small to hold requested data."},
    {"Bad params were used.", L"Bad params were used."},
};

} // namespace

const char* CException::what() const noexcept {
    return m_code < std::size(kMessages) ? kMessages[m_code].narrow : "";
}

const wchar_t* CException::whatw() const noexcept {
    return m_code < std::size(kMessages) ? kMessages[m_code].wide : L"";
}

} // namespace Lumenary::CP
