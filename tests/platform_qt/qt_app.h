// One QCoreApplication for every test of this program that turns the loop.
#pragma once

#include <QCoreApplication>

namespace brivel::test {

inline void ensure_qt_app() {
  static int argc = 1;
  static char name[] = "test_platform_qt";
  static char* argv[] = {name, nullptr};
  if (!QCoreApplication::instance()) new QCoreApplication(argc, argv);
}

}  // namespace brivel::test
