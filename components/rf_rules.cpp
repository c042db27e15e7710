#include "components/rf_rules.h"

#include <QFile>
#include <QStringDecoder>

#include <cstdint>
#include <cstring>
#include <memory>

namespace Refloom {
namespace {

constexpr qint64 kMaxRulesFile = qint64(1) << 30;

void append(QByteArray& packed, int rule) {
    auto const value = std::uint32_t(rule);
    packed.append(reinterpret_cast<char const*>(&value), sizeof value);
}

} // namespace

rfRules& rfRules::mainRules(QString const& resourceDir) {
    static std::unique_ptr<rfRules> shared(new rfRules(resourceDir + QLatin1Char('/') + QLatin1String(kFileName)));
    return *shared;
}

rfRules::rfRules(QString const& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || file.size() > kMaxRulesFile) return;
    QByteArray const bytes = file.readAll();
    QStringDecoder decode(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString const text = decode(bytes);
    if (decode.hasError()) return;  // not UTF-8: as unreadable
    m_lines = text.split(QLatin1Char('\n'));
    m_initial.fill(0, m_lines.size());
    m_current.fill(0, m_lines.size());
}

bool rfRules::_getRule(int rule) const {
    if (rule < 0 || rule >= count()) return false;
    if (rule != m_cachedRule) {
        m_cachedFields = m_lines[rule].split(QLatin1Char('|'));
        m_cachedRule = rule;
    }
    return true;
}

QString rfRules::field(int rule, int index) const {
    if (!_getRule(rule) || m_cachedFields.size() <= index) return QString();
    return m_cachedFields[index];
}

std::optional<QStringList> rfRules::getItemFiles(int rule) const {
    if (!_getRule(rule) || m_cachedFields.size() <= 4) return std::nullopt;
    return m_cachedFields.mid(4);
}

QByteArray rfRules::getRootItemChildren() const {
    QByteArray packed;
    for (int rule = 0; rule < count(); ++rule) {
        QString const flag = getItemFlag(rule);
        if (flag.isNull()) break;  // the first line without a flag ends the table
        if (flag == QLatin1String("0")) append(packed, rule);
    }
    return packed;
}

QByteArray rfRules::getItemChildren(int rule) const {
    if (getItemFlag(rule) != QLatin1String("0")) return {};
    QByteArray packed;
    for (int member = rule + 1; member < count(); ++member) {
        QString const flag = getItemFlag(member);
        if (flag.isNull() || flag == QLatin1String("0")) break;  // the table's end or the next category
        append(packed, member);
    }
    return packed;
}

void rfRules::setInitialItemState(int rule, int state) {
    m_initial[rule] = state;
    m_current[rule] = state;
}

QList<int> rfRules::unpack(QByteArray const& packed) {
    QList<int> rules;
    for (qsizetype at = 0; at + 4 <= packed.size(); at += 4) {
        std::uint32_t value;
        std::memcpy(&value, packed.constData() + at, sizeof value);
        rules.append(int(value));
    }
    return rules;
}

} // namespace Refloom
