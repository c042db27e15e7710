// Numbers and dates in the user's locale. Built on Qt, so it stays out of what the portable
// library and the archive code link.
#pragma once

#include <QString>

#include <cstdint>
#include <string>

namespace Common {

enum DateFormat : std::int32_t {
    date_short = 0,
    date_full = 1,  // any value but 0 selects the full style
};

// Decimal style with the locale's grouping, e.g. "1,234,567".
QString localizedStringFromNumber(long n);
std::wstring localizedWideStringFromNumber(long n);
// At most `digits` fraction digits, trailing zeros dropped, e.g. 1.23456 with 2 gives "1.23".
QString localizedStringFromFloat(float x, unsigned digits);
std::wstring localizedWideStringFromFloat(float x, unsigned digits);
// The date (short or full style) and the short time of a moment in seconds since 1970, in the
// local time zone. Answers `out` not empty.
bool GetLocalizedTimestamp(long seconds, DateFormat format, std::wstring& out);

} // namespace Common
