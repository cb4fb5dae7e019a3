#pragma once

#include "support/GrowingBuffer.h"

#include <string_view>

namespace torvo {

/// The bytes of one output stream, of any size, and the text that they make up.
class CapturedOutput {
  public:
    CapturedOutput() = default;
    /// A stream that says `text`; empty when there is no memory for it.
    explicit CapturedOutput(std::string_view text) { (void)m_buffer.append(text); }

    /// What was written, byte for byte.
    [[nodiscard]] std::string_view bytes() const { return m_buffer.bytes(); }
    /// The same as text; empty when the bytes are not valid UTF-8. Looks at every byte on each call.
    [[nodiscard]] std::string_view text() const;

    /// Where what comes next is put.
    [[nodiscard]] GrowingBuffer& buffer() { return m_buffer; }

  private:
    GrowingBuffer m_buffer;
};

} // namespace torvo
