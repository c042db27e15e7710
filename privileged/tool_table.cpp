#include "privileged/tool_table.h"

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

namespace Refloom {
namespace {

std::string native(QString const& text) { return QFile::encodeName(text).toStdString(); }

// Doubled slashes are harmless to a tool but refused by the helper, which takes every path
// component literally; they are folded here. Nothing else of a path is touched.
std::string foldSlashes(QString const& path) {
    static QRegularExpression const doubled(QStringLiteral("/{2,}"));
    QString folded = path;
    return native(folded.replace(doubled, QStringLiteral("/")));
}

} // namespace

QString ToolTable::toolPath(ToolRow const& row) const {
    QString const tool = QString::fromLatin1(row.tool);
    return tool.startsWith(QLatin1Char('@')) ? m_resourceDir + QLatin1Char('/') + tool.mid(1) : tool;
}

ToolCall ToolTable::call(FileTool operation, QString const& first, QString const& second) const {
    std::optional<ToolRow> const row = toolRow(operation);
    QStringList arguments;
    for (char const* argument : row->arguments) {
        QLatin1String const text(argument);
        arguments.append(text == QLatin1String("{1}")   ? first
                         : text == QLatin1String("{2}") ? second
                                                        : QString(text));
    }
    return {toolPath(*row), arguments};
}

std::optional<HelperProtocol::Request> ToolTable::request(QString const& tool, QStringList const& arguments) const {
    for (ToolRow const& row : toolRows()) {
        if (toolPath(row) != tool || qsizetype(row.arguments.size()) != arguments.size()) continue;
        HelperProtocol::Request request{row.operation, {"", ""}};
        bool matches = true;
        for (qsizetype i = 0; matches && i < arguments.size(); ++i) {
            std::string_view const pattern = row.arguments[size_t(i)];
            if (pattern == "{1}" || pattern == "{2}")
                request.operands[pattern == "{1}" ? 0 : 1] = row.operation == FileTool::chmod && pattern == "{2}"
                                                                 ? native(arguments[i])
                                                                 : foldSlashes(arguments[i]);
            else
                matches = arguments[i] == QLatin1String(pattern.data(), qsizetype(pattern.size()));
        }
        if (!matches) continue;
        request.operands.resize(size_t(operandCount(row)));
        return request;
    }
    if (QFileInfo(tool).path() != m_resourceDir) return std::nullopt;
    bool const patchTool = QFileInfo(tool).fileName() == QLatin1String(HelperProtocol::kPatchTool);
    HelperProtocol::Request request{patchTool ? FileTool::run_patch : FileTool::run_script, {}};
    if (!patchTool) request.operands.push_back(native(QFileInfo(tool).fileName()));
    for (QString const& argument : arguments)
        request.operands.push_back(patchTool && argument.startsWith(QLatin1Char('/')) ? foldSlashes(argument) : native(argument));
    return request;
}

} // namespace Refloom
