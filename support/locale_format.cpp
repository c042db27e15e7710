#include "support/locale_format.h"

#include <QDateTime>
#include <QLocale>

namespace Common {

QString localizedStringFromNumber(long n) { return QLocale().toString(qlonglong(n)); }

std::wstring localizedWideStringFromNumber(long n) {
    return localizedStringFromNumber(n).toStdWString();
}

QString localizedStringFromFloat(float x, unsigned digits) {
    QLocale locale;
    QString text = locale.toString(double(x), 'f', int(digits));
    QString const point = locale.decimalPoint();
    if (digits > 0 && text.contains(point)) {
        while (text.endsWith(locale.zeroDigit())) text.chop(1);
        if (text.endsWith(point)) text.chop(point.size());
    }
    return text;
}

std::wstring localizedWideStringFromFloat(float x, unsigned digits) {
    return localizedStringFromFloat(x, digits).toStdWString();
}

bool GetLocalizedTimestamp(long seconds, DateFormat format, std::wstring& out) {
    QLocale locale;
    QDateTime moment = QDateTime::fromSecsSinceEpoch(seconds).toLocalTime();
    QString date = locale.toString(moment.date(),
                                   format != date_short ? QLocale::LongFormat : QLocale::ShortFormat);
    out = (date + QLatin1Char(' ') + locale.toString(moment.time(), QLocale::ShortFormat))
              .toStdWString();
    return !out.empty();
}

} // namespace Common
