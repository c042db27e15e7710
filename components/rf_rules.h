// The rules table: what the installer can install, change or remove, read from the text file
// "Customizer.rules.txt" in the bundle's resources. Line n is rule n; a line's fields are
// separated by "|": name, flag ("0" for a category, anything else for a member of the category
// above), description, install method, then the files the method works on. A field a line
// lacks reads as null, never as an error. Each rule keeps two states: the one found on disk by
// the check pass (initial) and the one the user chose (current).
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

namespace Refloom {

class rfRules {
public:
    static constexpr char const* kFileName = "Customizer.rules.txt";

    // The process-wide table, read on first use from `resourceDir` (later arguments are ignored).
    static rfRules& mainRules(QString const& resourceDir = QString());

    // Reads the file; a missing, unreadable or non-UTF-8 file gives the empty table.
    explicit rfRules(QString const& path);

    int count() const { return int(m_lines.size()); }
    // True for a valid number, whose fields are then the cached ones.
    bool _getRule(int rule) const;
    QString getItemName(int rule) const { return field(rule, 0); }
    QString getItemFlag(int rule) const { return field(rule, 1); }
    QString getItemDesc(int rule) const { return field(rule, 2); }
    QString getItemMethod(int rule) const { return field(rule, 3); }
    // Fields 4 and on; none when the line has no more than four fields.
    std::optional<QStringList> getItemFiles(int rule) const;
    // Rule numbers packed as consecutive native 32-bit integers; empty (null) when none.
    QByteArray getItemChildren(int rule) const;
    QByteArray getRootItemChildren() const;

    // Sets both states; the setters take the caller's word that the number is valid.
    void setInitialItemState(int rule, int state);
    void setItemState(int rule, int state) { m_current[rule] = state; }
    int getItemState(int rule) const { return m_current[rule]; }
    int getItemInitialState(int rule) const { return m_initial[rule]; }

    // Unpacks a children buffer.
    static QList<int> unpack(QByteArray const& packed);

private:
    QString field(int rule, int index) const;

    QStringList m_lines;
    QList<int> m_initial;
    QList<int> m_current;
    // Only one line's fields are kept: a walk of the table splits each line once.
    mutable int m_cachedRule = -1;
    mutable QStringList m_cachedFields;
};

} // namespace Refloom
