#include "progress.h"

#include <cstdio>
#include <iostream>

#if defined(_WIN32)
#include <io.h>
#define GRAVOK_ISATTY _isatty
#define GRAVOK_FILENO _fileno
#else
#include <unistd.h>
#define GRAVOK_ISATTY isatty
#define GRAVOK_FILENO fileno
#endif

namespace gravok_tool {
namespace {
constexpr auto kRedraw = std::chrono::milliseconds(500);
constexpr auto kQuiet =
    std::chrono::seconds(1);  // steps shorter than this show no figures
}  // namespace

Progress::Progress() : m_shown(GRAVOK_ISATTY(GRAVOK_FILENO(stderr)) != 0) {
  if (m_shown) m_ticker = std::thread([this] { tick(); });
}

Progress::~Progress() {
  if (!m_shown) return;
  {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_stop = true;
    m_text.clear();
    draw();
  }
  m_wake.notify_one();
  m_ticker.join();
}

void Progress::step(const std::string& text) {
  if (!m_shown) return;
  std::lock_guard<std::mutex> lock(m_mutex);
  m_text = text;
  m_done = -1.0;
  m_start = std::chrono::steady_clock::now();
  draw();
}

void Progress::fraction(double done) {
  if (!m_shown) return;
  std::lock_guard<std::mutex> lock(m_mutex);
  m_done = done;
}

void Progress::tick() {
  std::unique_lock<std::mutex> lock(m_mutex);
  while (!m_wake.wait_for(lock, kRedraw, [this] { return m_stop; })) {
    if (!m_text.empty() && std::chrono::steady_clock::now() - m_start >= kQuiet) draw();
  }
}

void Progress::draw() {
  std::string line = m_text.empty() ? "" : m_text + "...";
  const auto elapsed = std::chrono::steady_clock::now() - m_start;
  if (!m_text.empty() && elapsed >= kQuiet) {
    if (m_done >= 0.0)
      line += " " + std::to_string(static_cast<int>(m_done * 100)) + " %,";
    line += " " +
            std::to_string(
                std::chrono::duration_cast<std::chrono::seconds>(elapsed).count()) +
            " s";
  }
  std::cerr << "\r" << std::string(m_width, ' ') << "\r" << line << std::flush;
  m_width = line.size();
}

}  // namespace gravok_tool
