#pragma once

#include <cstddef>

#include "orv/dataformats/Export.h"

namespace orv {
namespace dataformats {

// Receives the bytes that a writer produces, in order, in pieces of any size. A writer keeps a
// reference to its consumer, so the consumer must outlive it.
//
//   class FileConsumer : public DataConsumer {
//       void consume(const char* data, std::size_t size) override { fwrite(data, 1, size, f); }
//   };
//
// Thread safety: a consumer is fed by one writer at a time. Ownership: the bytes belong to the
// caller and are valid only during the call. Failure: an exception thrown by consume() passes
// through the writer to its caller.
class ORV_DATAFORMATS_API DataConsumer {
public:
    virtual ~DataConsumer();

    // Takes the next `size` bytes at `data`. `size` may be 0.
    virtual void consume(const char* data, std::size_t size) = 0;

protected:
    DataConsumer() = default;
    DataConsumer(const DataConsumer&) = default;
    DataConsumer& operator=(const DataConsumer&) = default;
};

}  // namespace dataformats
}  // namespace orv
