#include "json_store.h"

#include "json_document.h"

#include <utility>

namespace gvk_json {

JsonStore::JsonStore(std::string path, gvk::Problem problem)
    : ProblemStore(std::move(problem)), m_path(std::move(path)) {}

void JsonStore::write() const {
  if (!m_path.empty()) write_file(problem(), m_path);  // empty: a store in memory only
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
