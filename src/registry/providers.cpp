#include <gravok/providers.h>

namespace gvk {

DataSourceProvider::~DataSourceProvider() = default;

bool DataSourceProvider::supportsSurface() const { return false; }

DataStoreProvider::~DataStoreProvider() = default;

bool DataStoreProvider::supportsSurface() const { return true; }

std::unique_ptr<DataSource> DataStoreProvider::createDataSource(
    const std::string& location) const {
  return createDataStore(location);
}

}  // namespace gvk
