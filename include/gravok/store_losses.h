/// @file
/// What a store cannot hold. A store that drops part of what it receives (a file
/// format without slope limits, a mesh format without elements) may say so: it derives
/// from DeclaresLosses beside DataStore, and a host finds that with dynamic_cast after
/// a transfer and tells its user what was dropped, one line per kind of thing with its
/// count:
///
///     if (const auto* d = dynamic_cast<const gvk::DeclaresLosses*>(store.get()))
///       for (const gvk::StoreLoss& loss : d->losses())
///         std::cerr << target << ": dropped " << loss.count << " " << loss.what << '\n';
///
/// A loss is what the store received and what reading its output back does not give:
/// a setting that equals the default of gvk::DataSource is no loss, since the default
/// is what reading it back answers. A store that implements the interface and declares
/// nothing keeps everything it receives. A store that does not implement it says
/// nothing either way.
///
/// LossTally keeps the count per kind for a store that implements the interface. Each
/// object belongs to one thread at a time, as the store it belongs to.
#ifndef GRAVOK_STORE_LOSSES_H
#define GRAVOK_STORE_LOSSES_H

#include <gravok/export.h>

#include <string>
#include <vector>

namespace gvk {

/// One kind of thing a store dropped, and how many of it.
struct StoreLoss {
  /// What was dropped, in words that follow a count: "objectives", "LowPoint
  /// elements", "settings (max slope)".
  std::string what;
  /// How many of it; never 0 in a list that losses() returns.
  unsigned long long count = 0;
};

/// An interface a store may implement besides DataStore, so that a host can learn what
/// it dropped. The order of the virtual operations is part of the binary interface: a
/// new one goes after the last.
class GRAVOK_API DeclaresLosses {
 public:
  DeclaresLosses() = default;
  /// Copies nothing: the base has no state.
  DeclaresLosses(const DeclaresLosses&) = default;
  /// Assigns nothing: the base has no state.
  DeclaresLosses& operator=(const DeclaresLosses&) = default;
  virtual ~DeclaresLosses();

  /// What the store has dropped of what it received since it was created, one entry
  /// per kind of thing in the order the store first dropped it, each with a count
  /// above 0. A setter that replaces a part replaces its losses too, so after a
  /// transfer the list describes that transfer. Empty when nothing was dropped.
  virtual std::vector<StoreLoss> losses() const = 0;
};

/// Counts per kind of thing for DeclaresLosses::losses.
class GRAVOK_API LossTally {
 public:
  /// Sets the count of `what`, replacing an earlier count of the same words; a count
  /// of 0 removes it. A new `what` goes at the end of the list.
  void set(const std::string& what, unsigned long long count);
  /// The kinds with a count above 0, in the order they first got one.
  std::vector<StoreLoss> losses() const;

 private:
  std::vector<StoreLoss> m_losses;
};

}  // namespace gvk

#endif  // GRAVOK_STORE_LOSSES_H
