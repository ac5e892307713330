#include <gtest/gtest.h>

#include "link/frames.h"
#include "link/line.h"
#include "support/link_rig.h"

namespace brivel::test {
namespace {

struct Connected : LinkRig {
  Connected() { EXPECT_TRUE(connect(10)); }
};

TEST(Dispatcher, OtherCharacterDuringAWaitDoesNotEndIt) {
  Connected r;
  r.peer.queue("MX", "");  // the board is slow: we script its replies by hand
  const int64_t t = r.p.now();
  r.p.deliver(t + 5, "C");
  r.p.deliver(t + 7, "a");
  r.p.deliver(t + 9, "A");
  auto a = ecrit_et_attend(r.c, "MX00010\n", kRepA | kRepB | kRepD);
  EXPECT_EQ(a, Attente::Reponse);
  EXPECT_EQ(r.p.now(), t + 9);
  EXPECT_TRUE(r.s.rep_A);
  EXPECT_FALSE(r.s.rep_C) << "each character clears the others";
  EXPECT_EQ(r.s.car_autre, 'a');
}

TEST(Dispatcher, ReplyWithNoWaitIsLostAtTheNextClearing) {
  Connected r;
  r.p.deliver(r.p.now() + 1, "B");
  r.p.run_for(5);
  EXPECT_TRUE(r.s.rep_B) << "flags keep their last value";
  auto a = ecrit_et_attend(r.c, "MX00010\n", kRepA | kRepB | kRepD);
  EXPECT_EQ(a, Attente::Reponse);
  EXPECT_TRUE(r.s.rep_A);
  EXPECT_FALSE(r.s.rep_B);
}

TEST(CountedExchange, TwoLineFeedsAndBackToSingleMode) {
  Connected r;
  r.peer.queue("MX", "D");
  r.peer.after_lf("00012");
  auto from = r.mark();
  ASSERT_EQ(ecrit_et_attend(r.c, "MX01200\n", kRepA | kRepB | kRepD), Attente::Reponse);
  ASSERT_TRUE(r.s.rep_D);
  // The traffic recorder keeps the frame and the reply with their ticks.
  auto lines = lignes_trafic(r.s.trafic);
  ASSERT_GE(lines.size(), 3u);
  EXPECT_EQ(lines[lines.size() - 2], "        990 > MX01200<LF>");
  EXPECT_EQ(lines.back(), "        991 < D");
  std::string got;
  ASSERT_EQ(debut_echange_compte(r.c, got), Attente::Reponse);
  EXPECT_EQ(got, "00012");
  EXPECT_TRUE(r.s.mode_5car);
  EXPECT_EQ(r.p.sim_serial().threshold(), 5);
  fin_echange_compte(r.c, true);
  EXPECT_FALSE(r.s.mode_5car);
  EXPECT_EQ(r.p.sim_serial().threshold(), 1);
  EXPECT_EQ(r.p.sim_serial().input_len(), 1);
  EXPECT_EQ(r.frame_bytes(from), (std::vector<std::string>{"MX01200\n", "\n", "\n"}));
  // The next character is a single reply again.
  r.p.deliver(r.p.now() + 1, "A");
  r.s.rep_A = false;
  r.p.run_for(3);
  EXPECT_TRUE(r.s.rep_A);
}

TEST(CountedExchange, FewerThanFiveCharactersRaiseNoEvent) {
  Connected r;
  r.peer.after_lf("123");
  std::string got = "untouched";
  auto a = debut_echange_compte(r.c, got);
  EXPECT_EQ(a, Attente::Delai) << "the wait goes on until the time-out";
  EXPECT_EQ(got, "untouched");
  EXPECT_FALSE(r.s.rep_5car_prete);
  fin_echange_compte(r.c, false);
}

TEST(CountedExchange, ASecondCountedReplyStaysInTheBuffer) {
  Connected r;
  r.peer.after_lf("0001200034");
  std::string got;
  ASSERT_EQ(debut_echange_compte(r.c, got), Attente::Reponse);
  r.p.run_for(5);
  EXPECT_EQ(r.s.rep_5car, "00012");
  EXPECT_EQ(r.p.serial().in_buffer_count(), 5);
  fin_echange_compte(r.c, false);
}

// A board that says nothing and one that says only what no wait awaits:
// both run to the time-out, with different words, and the garbage is kept in
// the traffic recorder.
TEST(Waits, SilenceAndGarbageTimeOutWithTheirOwnWords) {
  struct Case {
    std::string garbage;
    Attente ending;
    std::string words, recorded;
  } cases[] = {
      {"", Attente::Delai, "Pas de réponse de la machine", "pas de réponse après 5000 ms"},
      {"x\n\x01", Attente::Inattendue, "Réponse inattendue de la machine : x<LF><01>",
       "réponse inattendue après 5000 ms : x<LF><01>"},
  };
  for (const auto& c : cases) {
    Connected r;
    r.peer.silent = true;
    const int64_t t0 = r.p.now();
    for (std::size_t i = 0; i < c.garbage.size(); ++i)
      r.p.deliver(t0 + 10 + static_cast<int64_t>(i), c.garbage.substr(i, 1));
    auto a = ecrit_et_attend(r.c, "MY00720\n", kRepA | kRepB);
    EXPECT_EQ(a, c.ending) << c.words;
    EXPECT_EQ(r.p.now() - t0, kDelaiReponseMs);
    EXPECT_EQ(texte_defaut_liaison(a), c.words);
    const auto lines = lignes_trafic(r.s.trafic);
    EXPECT_NE(lines.back().find(" ! " + c.recorded), std::string::npos) << lines.back();
  }
}

TEST(Waits, PortThatVanishesFailsTheWriteAndTurnsTheLampsRed) {
  Connected r;
  r.p.sim_serial().remove_port(10);
  auto a = ecrit_et_attend(r.c, "MY00720\n", kRepA | kRepB);
  EXPECT_EQ(a, Attente::PortPerdu);
  EXPECT_FALSE(r.p.serial().is_open());
  EXPECT_EQ(r.m.Shape1.color(), palette::kLightRed);
}

TEST(Waits, PortClosedUnderAWaitEndsIt) {
  Connected r;
  r.peer.silent = true;
  r.p.at(r.p.now() + 300, [&] { r.p.sim_devices().removal_(); });
  const int64_t t0 = r.p.now();
  EXPECT_EQ(ecrit_et_attend(r.c, "MY00720\n", kRepA | kRepB), Attente::PortPerdu);
  EXPECT_EQ(r.p.now() - t0, 300);
}

TEST(Waits, TimeOutAcrossAWrapOfTheTick) {
  Connected r;
  r.peer.silent = true;
  r.p.set_tick_offset(2147483647LL - r.p.now() - 100);
  EXPECT_EQ(ecrit_et_attend(r.c, "MY00720\n", kRepA | kRepB, 1000), Attente::Delai);
}

TEST(Waits, MoveTimeOutGrowsWithTheMove) {
  EXPECT_EQ(delai_mouvement_ms(0, 5000), kDelaiReponseMs);
  EXPECT_EQ(delai_mouvement_ms(1000, 5000), kDelaiReponseMs + 10000);
  EXPECT_EQ(delai_mouvement_ms(1000, -5), kDelaiReponseMs);
}

TEST(Recorder, KeepsOnlyTheLastFewHundred) {
  TrafficLog log;
  for (int i = 0; i < 1000; ++i) log.add(i, '>', "NUxxxxx\n");
  EXPECT_EQ(log.entries().size(), TrafficLog::kCapacity);
  EXPECT_EQ(log.entries().front().at_ms, 1000 - static_cast<int>(TrafficLog::kCapacity));
}

}  // namespace
}  // namespace brivel::test
