#include <gravok/data_source.h>

#include <algorithm>
#include <limits>

namespace gvk {
namespace {

struct Range {
  double min = std::numeric_limits<double>::infinity();
  double max = -std::numeric_limits<double>::infinity();

  void widen(double v) {
    min = std::min(min, v);
    max = std::max(max, v);
  }
  // +inf + -inf is NaN, so an empty range has a NaN centre.
  double centre() const { return (max + min) * 0.5; }
};

}  // namespace

void DataSource::ComputeOrigin(std::vector<double>& x, std::vector<double>& y,
                               std::vector<double>& z, double& xorig, double& yorig,
                               double& zorig) {
  const std::size_t n = x.size();
  Range rx, ry, rz;
  for (std::size_t i = 0; i < n; ++i) {
    rx.widen(x[i]);
    ry.widen(y[i]);
    rz.widen(z[i]);
  }
  xorig = rx.centre();
  yorig = ry.centre();
  zorig = rz.centre();
  for (std::size_t i = 0; i < n; ++i) {
    x[i] -= xorig;
    y[i] -= yorig;
    z[i] -= zorig;
  }
}

}  // namespace gvk
