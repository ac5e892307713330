#include "platform/receive_buffer.h"

namespace brivel {

void ReceiveBuffer::append(std::string_view bytes) {
  if (bytes.empty()) return;
  data_.append(bytes);
  armed_ = true;
}

void ReceiveBuffer::clear() {
  data_.clear();
  armed_ = true;
}

void ReceiveBuffer::set_threshold(int n) {
  if (n != threshold_) armed_ = true;
  threshold_ = n;
}

void ReceiveBuffer::set_input_len(int n) { input_len_ = n; }

std::string ReceiveBuffer::take() {
  std::size_t n = input_len_ <= 0 ? data_.size() : std::min<std::size_t>(input_len_, data_.size());
  std::string out = data_.substr(0, n);
  data_.erase(0, n);
  if (n > 0) armed_ = true;
  return out;
}

bool ReceiveBuffer::event_due() {
  if (!armed_ || threshold_ <= 0 || count() < threshold_) return false;
  armed_ = false;
  return true;
}

}  // namespace brivel
