// The log core: the handler list, handler ids, the minimum level and dispatch.
#include <gravok/log.h>

#include "platform.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <ctime>
#include <utility>
#include <vector>

namespace gvk {
namespace {

struct HandlerRecord {
  unsigned long long id;
  std::function<void(const Log::Entry&)> handler;
  Log::Level level;
};

// Built empty on first use and destroyed, with every handler in it, at unload.
std::vector<HandlerRecord>& handler_list() {
  static std::vector<HandlerRecord> handlers;
  return handlers;
}

// A plain process-wide value: changed only while no other thread logs.
unsigned long long next_handler_id = 0;

// Hosts read the minimum level inline in every logging statement: a lock-free atomic
// with constant initialisation, so that it holds fatal before any code runs.
static_assert(std::atomic<std::int32_t>::is_always_lock_free,
              "the minimum level is read without a lock");

}  // namespace

std::atomic<std::int32_t> log_minimum_level{Log::fatal};

std::wstring Log::Entry::defaultFormat() const { return message; }

unsigned long long Log::RegisterHandler(std::function<void(const Entry&)> handler,
                                        Level level) {
  const unsigned long long id = next_handler_id++;
  if (!handler) return id;
  handler_list().push_back(HandlerRecord{id, std::move(handler), level});
  if (level < log_minimum_level.load(std::memory_order_relaxed)) {
    log_minimum_level.store(level, std::memory_order_relaxed);
  }
  return id;
}

void Log::UnregisterCallback(unsigned long long id) {
  std::vector<HandlerRecord>& handlers = handler_list();
  const auto found = std::find_if(handlers.begin(), handlers.end(),
                                  [id](const HandlerRecord& r) { return r.id == id; });
  if (found != handlers.end()) handlers.erase(found);
}

void Log::Add(Level level, std::wstring message, const char* file,
              unsigned long long line, const char* function) {
  Entry entry;
  entry.level = level;
  entry.message = std::move(message);
  entry.file = file ? file : "";
  entry.line = line;
  entry.function = function ? function : "";
  const std::vector<HandlerRecord>& handlers = handler_list();
  const std::size_t count = handlers.size();
  for (std::size_t i = 0; i < count; ++i) {
    if (level >= handlers[i].level) handlers[i].handler(entry);
  }
}

bool Log::DoAdd(Level level) {
  return level >= log_minimum_level.load(std::memory_order_relaxed);
}

const wchar_t* Log::LevelString(Level level) {
  static const wchar_t* const kNames[] = {L"trace", L"debug", L"timing", L"info",
                                          L"warn",  L"error", L"fatal"};
  if (level < trace || level > fatal) return L"unknown";
  return kNames[level];
}

std::string timestamp() {
  std::tm parts{};
  if (!detail::break_down_utc(std::time(nullptr), parts)) parts = std::tm{};
  char buffer[32];
  const std::size_t length =
      std::strftime(buffer, sizeof buffer, "[%Y-%m-%d %H:%M:%S] ", &parts);
  return std::string(buffer, length);
}

}  // namespace gvk
