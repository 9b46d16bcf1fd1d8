#include "json_store.h"

#include "json_document.h"

#include <gravok/log.h>

#include <utility>

namespace gvk_json {

JsonStore::JsonStore(std::string path, gvk::Problem problem)
    : ProblemStore(std::move(problem)), m_path(std::move(path)) {}

bool JsonStore::write() const {
  if (m_path.empty()) return true;  // a store in memory only
  std::string error;
  if (write_file(problem(), m_path, error)) {
    m_write_error.clear();
    return true;
  }
  m_write_error = error;
  GRAVOK_LOG_ERROR << "JSON store: " << error;
  return false;
}

void JsonStore::beginBulkOperation() const { ++m_depth; }

void JsonStore::endBulkOperation() const {
  if (m_depth > 0) --m_depth;
  problem_changed();
}

void JsonStore::problem_changed() const {
  if (m_depth == 0) write();
}

}  // namespace gvk_json
