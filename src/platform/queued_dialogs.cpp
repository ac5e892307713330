#include "platform/queued_dialogs.h"

namespace brivel {

namespace {
template <typename T>
std::optional<T> pop(std::deque<T>& q) {
  if (q.empty()) return std::nullopt;
  T v = std::move(q.front());
  q.pop_front();
  return v;
}
}  // namespace

std::string QueuedDialogs::open_file(const FileDialogRequest& req) {
  open_requests.push_back(req);
  return pop(open_answers).value_or("");
}

std::string QueuedDialogs::save_file(const FileDialogRequest& req) {
  save_requests.push_back(req);
  return pop(save_answers).value_or("");
}

BoxAnswer QueuedDialogs::message_box(const std::string& text, BoxButtons buttons) {
  boxes.push_back(text);
  if (on_box) on_box(text);
  auto a = pop(box_answers);
  if (a) return *a;
  // Nothing queued: the default button, as Enter gives it.
  if (buttons == BoxButtons::YesNoDefaultYes) return BoxAnswer::Yes;
  return buttons == BoxButtons::YesNoDefaultNo ? BoxAnswer::No : BoxAnswer::Ok;
}

std::optional<std::string> QueuedDialogs::input_box(const std::string& prompt, const std::string& default_answer) {
  input_prompts.push_back(prompt);
  input_defaults.push_back(default_answer);
  auto a = pop(input_answers);
  return a ? *a : std::nullopt;
}

}  // namespace brivel
