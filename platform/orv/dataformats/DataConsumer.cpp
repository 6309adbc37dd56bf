#include "orv/dataformats/DataConsumer.h"

namespace orv {
namespace dataformats {

DataConsumer::~DataConsumer() = default;

}  // namespace dataformats
}  // namespace orv
