// Each file operation as the tool and arguments that carry it out on this platform. On the Mac
// they are the system's own tools; here the nearest equivalents with the same meaning.
#pragma once

#include <QString>
#include <QStringList>

#include <span>

namespace Refloom {

enum class FileTool { remove_folder, remove_file, rename, copy, unlock_file, unlock_dir, chmod, make_dir, sym_link };

struct ToolCall {
    QString tool;
    QStringList arguments;
    bool operator==(ToolCall const&) const = default;
};

// One row: the tool (a leading "@" names a file of the resource folder) and its arguments,
// where "{1}" and "{2}" stand for the operation's first and second operand, as whole arguments.
struct ToolRow {
    FileTool operation;
    char const* tool;
    std::span<char const* const> arguments;
};

class ToolTable {
public:
    explicit ToolTable(QString resourceDir) : m_resourceDir(std::move(resourceDir)) {}

    ToolCall call(FileTool operation, QString const& first, QString const& second = QString()) const;
    // The group administrators belong to.
    static QString adminGroup();
    static std::span<ToolRow const> rows();

private:
    QString m_resourceDir;
};

} // namespace Refloom
