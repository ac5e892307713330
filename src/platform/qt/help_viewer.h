// The help page shown inside the program, for a machine with no web browser
// (a workshop computer often has none).
#pragma once

#include <QString>

namespace brivel {

// True when the desktop has a program that shows web pages.
bool browser_available();

// Shows the local HTML file in a window of the program, links followed
// inside it. False without a widget application or when the file can't be read.
bool show_help_inside(const QString& path);

}  // namespace brivel
