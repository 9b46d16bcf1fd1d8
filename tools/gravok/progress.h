// What a long command is doing, shown on standard error while it runs, only when
// standard error is a terminal: the step's name and, from its first second on, the
// seconds it has taken and how far it has come where the step says so, redrawn in
// place twice a second by a thread of its own. Nothing at all is written when
// standard error is not a terminal, so redirected output stays clean.
#ifndef GRAVOK_TOOLS_PROGRESS_H
#define GRAVOK_TOOLS_PROGRESS_H

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <thread>

namespace gravok_tool {

class Progress {
 public:
  Progress();
  // Clears the line.
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // Starts a step; an empty text clears the line and shows nothing until the next.
  void step(const std::string& text);
  // How much of the step is done, 0 to 1; callable from any thread, and cheap.
  void fraction(double done);

 private:
  void tick();
  void draw();  // with m_mutex held

  const bool m_shown;
  std::mutex m_mutex;
  std::condition_variable m_wake;
  bool m_stop = false;
  std::string m_text;
  double m_done = -1.0;  // below 0: not known
  std::chrono::steady_clock::time_point m_start;
  std::size_t m_width = 0;
  std::thread m_ticker;
};

}  // namespace gravok_tool

#endif  // GRAVOK_TOOLS_PROGRESS_H
