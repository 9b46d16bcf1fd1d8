#include <gravok/store_losses.h>

#include <algorithm>

namespace gvk {

DeclaresLosses::~DeclaresLosses() = default;

void LossTally::set(const std::string& what, unsigned long long count) {
  const auto at = std::find_if(m_losses.begin(), m_losses.end(),
                               [&](const StoreLoss& loss) { return loss.what == what; });
  if (at != m_losses.end()) {
    if (count == 0) {
      m_losses.erase(at);
    } else {
      at->count = count;
    }
  } else if (count > 0) {
    m_losses.push_back(StoreLoss{what, count});
  }
}

std::vector<StoreLoss> LossTally::losses() const { return m_losses; }

}  // namespace gvk
