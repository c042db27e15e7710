// The window files, loaded at run time from the resources as a designer left them, never
// compiled in: a missing or broken file is a null widget, which callers report.
#pragma once

#include <QString>
#include <QWidget>

#include <memory>

namespace Refloom {

std::unique_ptr<QWidget> loadWindowFile(QString const& path, QWidget* parent = nullptr);
// Writes a line to the system log, as the program does when a window file fails to load.
void systemLogLine(QString const& line);

} // namespace Refloom
