// What the program hands to the desktop: documents and addresses to open
// with the system's viewer.
#pragma once

#include <QString>
#include <QUrl>
#include <string>

namespace brivel {

// The address to open for `path_or_url`: an address with a scheme
// ("https://...", "mailto:...") as it stands; otherwise a file, a relative
// name being taken from `current_folder`. An invalid address when the file
// does not exist: a missing help page opens nothing, and certainly not a web
// search for its name.
QUrl document_url(const std::string& path_or_url, const QString& current_folder);

}  // namespace brivel
