#include "sources/BaseSource.h"

#include <utility>

namespace tavorin {

BaseSource::BaseSource(std::string id, std::string displayName, SourceKind kind)
    : id_(std::move(id)), kind_(kind), displayName_(std::move(displayName)) {}

BaseSource::~BaseSource() = default;

}  // namespace tavorin
