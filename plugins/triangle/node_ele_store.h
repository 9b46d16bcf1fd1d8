// The store of Triangle .node and .ele pairs: "PATH.node" or "PATH.ele" writes
// PATH.node and PATH.ele in the layout of gvk::PolyFile::to_files (write_node_ele),
// when the outermost bulk bracket closes or a setter is called outside one. A pair
// holds a mesh and nothing else, in absolute coordinates (the store's origin is zero)
// with 12 decimals, so the store declares everything else it receives as lost
// (gvk::DeclaresLosses). It starts empty: writing replaces an existing pair whole.
#ifndef GRAVOK_TRIANGLE_NODE_ELE_STORE_H
#define GRAVOK_TRIANGLE_NODE_ELE_STORE_H

#include <gravok/problem.h>
#include <gravok/store_losses.h>

#include <string>
#include <vector>

namespace gvk_triangle {

class NodeEleStore : public gvk::ProblemStore, public gvk::DeclaresLosses {
 public:
  NodeEleStore(std::string node_path, std::string ele_path);

  // Writes the pair now: what write_node_ele throws (a mesh the pair cannot hold, a
  // write the system refuses) passes to the caller, and the old pair stays.
  void write() const;

  // Brackets nest: only the outermost end writes. An end without a begin writes too.
  void beginBulkOperation() const override;
  void endBulkOperation() const override;

  // Everything the store received that is not the mesh's coordinates and triangles:
  // objectives, settings that differ from the defaults, units, the host version, break
  // lines, triangle records that are not all zero bytes, every element by kind, further
  // surfaces, the description; and the coordinates that 12 decimals do not give back.
  std::vector<gvk::StoreLoss> losses() const override;

 protected:
  void problem_changed() const override;

 private:
  std::string m_node_path;
  std::string m_ele_path;
  mutable int m_depth = 0;
};

}  // namespace gvk_triangle

#endif  // GRAVOK_TRIANGLE_NODE_ELE_STORE_H
