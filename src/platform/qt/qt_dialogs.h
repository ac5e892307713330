// The real dialogs and boxes, with the window's widgets. Without a widget
// application (the scripted console) they answer as a cancel or the default
// button.
#pragma once

#include <string>
#include <vector>

#include "platform/platform.h"

namespace brivel {

// "Fichiers (*.mid)|*.mid|Tous (*.*)|*.*|" -> "Fichiers (*.mid);;Tous (*.*)"
std::string qt_filter(const std::string& filter);
// The entry of a filter chosen by its 1-based index ("Tous (*.*)" for 2
// above); the first entry for an index out of range, "" without filter.
std::string qt_selected_filter(const std::string& filter, int index);

class QtDialogs : public Dialogs {
 public:
  std::string open_file(const FileDialogRequest& req) override;
  std::string save_file(const FileDialogRequest& req) override;
  BoxAnswer message_box(const std::string& text, BoxButtons buttons) override;
  std::optional<std::string> input_box(const std::string& prompt, const std::string& def) override;
};

}  // namespace brivel
