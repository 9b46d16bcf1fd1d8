#include <gravok/mesh_tools.h>

namespace gvk {

mesh_metric default_mesh_metric() {
  mesh_metric metric{};
  metric.kind = 1;
  metric.value = 0.0;
  metric.flag_a = false;
  metric.flag_b = true;
  return metric;
}

}  // namespace gvk
