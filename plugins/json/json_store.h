// The JSON store: a problem kept in memory and written as one JSON document. It is a
// gvk::ProblemStore: each setter replaces its part of the problem, and parts that no
// setter touched keep what the document held when the store was created (GUIDs have
// no setter and are always kept). The document is written when the outermost bulk
// bracket closes, and at once by a setter called outside any bracket; nothing is
// written before that, so creating a store for an existing document changes nothing
// on disk. Every getter answers from the problem as it stands. One thread at a time,
// as every store.
#ifndef GRAVOK_JSON_STORE_H
#define GRAVOK_JSON_STORE_H

#include <gravok/problem.h>
#include <gravok/store_losses.h>

#include <string>
#include <vector>

namespace gvk_json {

class JsonStore : public gvk::ProblemStore, public gvk::DeclaresLosses {
 public:
  // A store that writes to `path`, starting from `problem` (a default Problem for a
  // new document, or the one read from the existing document). With an empty path
  // the store keeps the problem in memory only and never writes.
  JsonStore(std::string path, gvk::Problem problem);

  const std::string& path() const { return m_path; }

  // Writes the document now (write_file): a failure throws std::system_error
  // "cannot write PATH" with the system's reason, and the file stays as it was.
  void write() const;

  // Brackets nest: only the outermost end writes, and so throws as write() does; the
  // exception passes through copyFrom and copyAllFrom. An end without a begin writes
  // too.
  void beginBulkOperation() const override;
  void endBulkOperation() const override;

  // A JSON document holds everything a transfer hands a store: nothing is dropped.
  std::vector<gvk::StoreLoss> losses() const override { return {}; }

 protected:
  // Writes unless a bulk bracket is open; a setter called outside a bracket therefore
  // throws as write() does.
  void problem_changed() const override;

 private:
  std::string m_path;
  mutable int m_depth = 0;
};

}  // namespace gvk_json

#endif  // GRAVOK_JSON_STORE_H
