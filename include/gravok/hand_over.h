/// @file
/// Meshes handed over by move instead of copied. get_eg_data copies the current mesh
/// into the caller's containers, since a source must be able to answer again; for a
/// site of 10^7 triangles that copy is as large as everything else the caller holds.
/// A source that is read once and then dropped (a command that opens a file, reads it
/// and works on what it read) need not keep its copy. Such a source may also implement
/// HandOverSource, which a caller finds with dynamic_cast, and take_snapshot uses it.
/// A source that does not implement it behaves exactly as before.
///
/// The order of the virtual operations of the interface is part of the binary
/// interface: implementations are built separately from the library. It is called from
/// one thread at a time, as the source that implements it.
#ifndef GRAVOK_HAND_OVER_H
#define GRAVOK_HAND_OVER_H

#include <gravok/data_source.h>
#include <gravok/export.h>
#include <gravok/problem.h>
#include <gravok/records.h>

#include <vector>

namespace gvk {

/// A source that can give the mesh of its current surface away.
class GRAVOK_API HandOverSource {
 public:
  HandOverSource() = default;
  /// Copies nothing: the interface has no state.
  HandOverSource(const HandOverSource&) = default;
  /// Assigns nothing.
  HandOverSource& operator=(const HandOverSource&) = default;
  virtual ~HandOverSource();

  /// Replaces the five containers with the current surface's mesh, exactly as
  /// get_eg_data would deliver it at this moment (same values, same order, same
  /// origin), moving the source's own arrays where it can rather than copying them.
  /// Afterwards the source no longer holds that mesh: get_eg_data and take_eg_data of
  /// the same surface deliver empty containers. Everything else the source answers
  /// (break lines, elements, settings, origin, the other surfaces) is unchanged.
  virtual void take_eg_data(std::vector<double>& x, std::vector<double>& y,
                            std::vector<double>& z, std::vector<Triangle>& triangles,
                            std::vector<gravok_triangle_info>& triangle_info) = 0;
};

/// A ProblemSource whose meshes can be taken: the source a reader of whole documents
/// hands out when its caller reads the problem once. Taking the mesh of the main mesh
/// or of the selected entry of `surfaces` empties that mesh in problem().
class GRAVOK_API HandOverProblemSource : public ProblemSource, public HandOverSource {
 public:
  /// Answers what a bare DataSource answers.
  HandOverProblemSource() = default;
  /// Answers from `problem`.
  explicit HandOverProblemSource(Problem problem);
  ~HandOverProblemSource() override;

  void select_surface(unsigned long long id) override;
  void take_eg_data(std::vector<double>& x, std::vector<double>& y,
                    std::vector<double>& z, std::vector<Triangle>& triangles,
                    std::vector<gravok_triangle_info>& triangle_info) override;

 private:
  bool m_selected = false;           // an entry of problem().surfaces is current
  unsigned long long m_surface = 0;  // its id
};

/// What snapshot does, with one difference: from a source that is also a
/// HandOverSource, each mesh is taken (HandOverSource::take_eg_data) instead of
/// copied, so the problem's arrays exist once. The source has then given its meshes
/// away and is meant to be dropped; `problem` is the same value that snapshot would
/// have filled. From any other source it is snapshot.
GRAVOK_API void take_snapshot(DataSource& source, Problem& problem,
                              const std::vector<long long>& uids = {});

}  // namespace gvk

#endif  // GRAVOK_HAND_OVER_H
