#pragma once

#include <cstddef>
#include <string>

#include "orv/common/types/BufferDescriptor.h"
#include "orv/dataformats/DataConsumer.h"
#include "orv/dataformats/Export.h"
#include "orv/dataformats/data/ConstVisitor.h"

namespace orv {
namespace dataformats {
namespace json {

// Writes a data tree as compact JSON (RFC 8259) into a DataConsumer:
// - no white space between tokens;
// - object members in the order of their map (key order);
// - strings and keys between quotes, with `"` and `\` escaped, \b \f \n \r \t for those
//   control characters and \u00XX for the other bytes below 0x20; all other bytes, including
//   those of 0x80 and above, are written unchanged (the text is not checked to be UTF-8);
// - integers in decimal; floats in the shortest form that reads back to the same double
//   (1 for 1.0, 0.1, 1e+300, 5e-324, -0 for negative zero); NaN and the infinities as null;
// - blobs as strings of standard base64 with padding; null, true and false as such.
//
//   std::string text;
//   StringAppendConsumer consumer(text);
//   Writer writer(consumer);
//   writer.visit(&tree);  // text holds the JSON of tree
//
// Children are written through their own visit(), so a value type that presents itself
// differently is honoured at any depth. A derived writer emits through visitString() and the
// other visit operations only, never straight to the consumer: output is buffered and reaches
// the consumer when the outermost operation returns (see docs/design.md, "JSON writer").
//
// Thread safety: a writer is used by one thread at a time. Ownership: the consumer belongs to
// the caller and must outlive the writer; the tree is only read. Failure: exceptions of the
// consumer or of a visited value pass through; the output of that document may then be cut
// short anywhere, the rest of it is dropped and the writer can write the next document.
class ORV_DATAFORMATS_API Writer : public data::ConstVisitor {
public:
    explicit Writer(DataConsumer& consumer) noexcept;
    ~Writer() override;

    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    void visitNull() override;
    void visitBoolean(bool value) override;
    void visitInteger(int value) override;
    void visitFloat(double value) override;
    void visitString(orv::common::types::BufferDescriptor<const char> bytes) override;
    void visitBlob(orv::common::types::BufferDescriptor<const char> bytes) override;
    void visitArray(const data::PtrVector<data::Value>& elements) override;
    void visitObject(const data::PtrMap<std::string, data::Value>& members) override;

private:
    static constexpr std::size_t kBufferSize = 4096;

    void visitChild(const data::Value* child);
    void put(char c);
    void append(const char* data, std::size_t size);
    char* reserve(std::size_t size);
    void writeQuoted(const char* data, std::size_t size);
    void writeBase64(const unsigned char* data, std::size_t size);
    void enterContainer() noexcept;
    void leaveContainer() noexcept;
    void abandonContainer() noexcept;
    void endValue();
    void flush();

    DataConsumer& m_consumer;
    // Number of arrays and objects being written around the current value; at 0 a finished
    // value is handed to the consumer at once.
    std::size_t m_depth = 0;
    // Output not yet handed to the consumer: the first m_used bytes of m_buffer.
    std::size_t m_used = 0;
    char m_buffer[kBufferSize];
};

}  // namespace json
}  // namespace dataformats
}  // namespace orv
