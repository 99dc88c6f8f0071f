// Saves once and ends: the program that the tests of AtomicSaver kill and trip.
//
//   save_once PATH SIZE CHARACTER    saves SIZE times CHARACTER; on failure prints the reason and exits with 1
#include <csignal>
#include <cstdlib>
#include <iostream>

#include "platform/posix/AtomicSaver.h"

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  // Writing beyond a file size limit shall be an error and not a signal.
  std::signal(SIGXFSZ, SIG_IGN);
  const zpk::Bytes content(static_cast<std::size_t>(std::atol(argv[2])), static_cast<std::uint8_t>(argv[3][0]));
  const auto saved = zpk::AtomicSaver::save(argv[1], content);
  if (saved) return 0;
  std::cout << saved.error().reason;
  return 1;
}
