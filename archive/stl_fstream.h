// A file stream opened from a wide path, through the path's UTF-8 form.
#pragma once

#include <fstream>
#include <string>

#include "cp/string_converter.h"

namespace stl_extensions {

class fstream : public std::fstream {
public:
    fstream(wchar_t const* path, std::ios_base::openmode mode)
        : std::fstream(std::string(static_cast<char const*>(Common::ToUTF8(path))), mode) {}
};

} // namespace stl_extensions
