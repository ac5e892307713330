// The board model behind a simulated serial port: frames written by the
// program go to the model, its replies come back at their virtual times, and
// the reset pulse on the modem lines restarts it.
#pragma once

#include "board/board_model.h"
#include "platform/sim/sim_platform.h"

namespace brivel {

class BoardPeer : public SerialPeer {
 public:
  BoardPeer(SimPlatform& platform, BoardModel& board) : p_(platform), board_(board) {}

  void on_bytes(std::string_view bytes, int64_t now_ms) override {
    for (auto& out : board_.receive(bytes, now_ms)) p_.deliver(out.at_ms, std::move(out.bytes));
  }
  void on_modem_lines(bool dtr, bool rts, int64_t now_ms) override {
    // The board restarts when the lines are raised.
    if ((dtr || rts) && !(dtr_ || rts_)) {
      BoardOutput salut = board_.reset(now_ms);
      p_.deliver(salut.at_ms, std::move(salut.bytes));
    }
    dtr_ = dtr;
    rts_ = rts;
  }

 private:
  SimPlatform& p_;
  BoardModel& board_;
  bool dtr_ = false, rts_ = false;
};

}  // namespace brivel
