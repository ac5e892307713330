// The input side of a serial port as the older serial controls behave: bytes
// pile up in a buffer, the receive event fires while at least `threshold`
// bytes wait, and one read takes at most `input_len` of them.
//
// The event is edge-triggered on progress: it fires again only after new
// bytes came, the threshold changed, or the last handler took something. A
// handler that leaves the bytes where they are (a counted reply already
// pending) therefore doesn't make the loop spin, and a reply shorter than the
// threshold raises no event at all.
#pragma once

#include <string>
#include <string_view>

namespace brivel {

class ReceiveBuffer {
 public:
  void append(std::string_view bytes);
  void clear();
  void set_threshold(int n);
  void set_input_len(int n);
  int threshold() const { return threshold_; }
  int input_len() const { return input_len_; }
  int count() const { return static_cast<int>(data_.size()); }
  const std::string& data() const { return data_; }

  // Takes up to input_len bytes (all of them when input_len is 0).
  std::string take();

  // True when a receive event is to fire now. Calling it consumes the edge:
  // the next call is true again only after progress.
  bool event_due();

 private:
  std::string data_;
  int threshold_ = 1;
  int input_len_ = 1;
  bool armed_ = true;
};

}  // namespace brivel
