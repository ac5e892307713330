// Dialogs and boxes answered from queues instead of a person: the simulated
// platform's, and the scripted console's on the real platform. Every question
// is kept. With its queue empty a file dialog is cancelled, a box gets its
// default button (OK, or No for a yes/no question) and an input box is
// cancelled, so that a story that forgot an answer still ends.
#pragma once

#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/platform.h"

namespace brivel {

class QueuedDialogs : public Dialogs {
 public:
  std::string open_file(const FileDialogRequest& req) override;
  std::string save_file(const FileDialogRequest& req) override;
  BoxAnswer message_box(const std::string& text, BoxButtons buttons) override;
  std::optional<std::string> input_box(const std::string& prompt, const std::string& def) override;

  std::deque<std::string> open_answers, save_answers;
  std::deque<BoxAnswer> box_answers;
  std::deque<std::optional<std::string>> input_answers;

  std::vector<FileDialogRequest> open_requests, save_requests;
  std::vector<std::string> boxes;         // texts of the boxes shown, in order
  std::vector<std::string> input_prompts, input_defaults;
  // Called while a box is up, as if the operator looked at it.
  std::function<void(const std::string&)> on_box;
};

}  // namespace brivel
