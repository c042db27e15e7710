#include "cp/file_type.h"

#include <cwctype>
#include <map>
#include <mutex>

#include "cp/exception.h"
#include "cp/string_converter.h"

namespace Lumenary::CP {
namespace {

struct CommonType {
    char code[5];
    wchar_t const* extension;
};

// Registered in this order; lists keep it, so "doc" is first 'W8BN' and "xls" first 'XLS8'.
constexpr CommonType kCommonTypes[] = {
    {"BMPf", L"bmp"},    {"GIFf", L"gif"}, {"JPEG", L"jpg"}, {"JPEG", L"jpeg"}, {"PNGf", L"png"},
    {"TIFF", L"tif"},    {"TIFF", L"tiff"}, {"EMFf", L"mf"}, {"EMFf", L"emf"},  {"ICOf", L"ico"},
    {"PICT", L"pct"},    {"W8BN", L"doc"}, {"WDBN", L"doc"}, {"DOTt", L"dot"},  {"XLS8", L"xls"},
    {"XLS5", L"xls"},    {"XLS4", L"xls"}, {"XLS3", L"xls"}, {"shlb", L"dll"},  {"shlb", L"bundle"},
    {"RTF ", L"rtf"},    {"TEXT", L"txt"}, {"PDF ", L"pdf"}, {"ODT ", L"odt"},  {"????", L"???"},
};

template <typename Key, typename Value>
using _CTypeMap = std::map<Key, std::list<Value>>;

struct Registry {
    std::mutex lock;
    _CTypeMap<std::uint32_t, std::wstring> extensions_by_type;
    _CTypeMap<std::wstring, std::uint32_t> types_by_extension;
};

Registry& registry() {
    static Registry instance;
    return instance;
}

std::wstring normalised(std::wstring ext) {
    if (!ext.empty() && ext.front() == L'.') ext.erase(0, 1);
    for (wchar_t& c : ext) c = static_cast<wchar_t>(std::towlower(static_cast<wint_t>(c)));
    return ext;
}

void add(Registry& r, std::uint32_t type, std::wstring const& ext) {
    r.extensions_by_type[type].push_back(ext);
    r.types_by_extension[ext].push_back(type);
}

std::wstring from_ansi(char const* text) {
    return CStringConverter(std::string(text), enc_ansi, 1252);
}

} // namespace

void CFileType::_init() {
    static std::once_flag filled;
    std::call_once(filled, [] {
        Registry& r = registry();
        std::lock_guard guard(r.lock);
        for (CommonType const& entry : kCommonTypes) add(r, fourcc(entry.code), entry.extension);
    });
}

CFileType::CFileType(std::uint32_t type) : m_type(type) { _init(); }

CFileType::CFileType(char const* extension) {
    _init();
    if (extension) _determine_type(from_ansi(extension));
}

CFileType::CFileType(wchar_t const* extension) {
    _init();
    if (extension) _determine_type(extension);
}

void CFileType::_determine_type(std::wstring ext) {
    Registry& r = registry();
    std::lock_guard guard(r.lock);
    auto found = r.types_by_extension.find(normalised(std::move(ext)));
    if (found == r.types_by_extension.end()) found = r.types_by_extension.find(L"???");
    if (found != r.types_by_extension.end() && !found->second.empty())
        m_type = found->second.front();
}

bool CFileType::register_type(std::uint32_t type, wchar_t const* extension) {
    if (!extension) throw CException(CException::bad_params);
    _init();
    Registry& r = registry();
    std::lock_guard guard(r.lock);
    add(r, type, normalised(extension));
    return true;
}

bool CFileType::register_type(std::uint32_t type, char const* extension) {
    if (!extension) throw CException(CException::bad_params);
    return register_type(type, from_ansi(extension).c_str());
}

std::list<std::wstring> CFileType::_get_extensions(std::uint32_t type) {
    _init();
    Registry& r = registry();
    std::lock_guard guard(r.lock);
    auto found = r.extensions_by_type.find(type);
    if (found == r.extensions_by_type.end()) found = r.extensions_by_type.find(kUnknown);
    return found->second;
}

bool CFileType::copy_main_extension(std::string& out) const {
    std::list<std::wstring> extensions = _get_extensions(m_type);
    if (extensions.empty()) return false;
    out = static_cast<std::string const&>(CStringConverter(extensions.front(), enc_ansi, 1252));
    return true;
}

} // namespace Lumenary::CP
