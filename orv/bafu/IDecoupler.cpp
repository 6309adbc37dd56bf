#include "orv/bafu/IDecoupler.h"

namespace orv {
namespace bafu {

// Defined here so that the interface's type information lives in this library only.
IDecoupler::~IDecoupler() = default;

}  // namespace bafu
}  // namespace orv
