#pragma once

#include <cstddef>
#include <span>
#include <string_view>

namespace torvo {

/// Bytes that come to any number, in one piece. Memory is taken from the system a page at a time as they arrive, so
/// that the whole costs at most a fifth more than its bytes (a page for the smallest). Growing moves page tables, not
/// bytes. Running out of memory is a returned value, never an exception.
class GrowingBuffer {
  public:
    GrowingBuffer() = default;
    GrowingBuffer(GrowingBuffer&& other) noexcept;
    GrowingBuffer& operator=(GrowingBuffer&& other) noexcept;
    ~GrowingBuffer();

    [[nodiscard]] std::string_view bytes() const { return {m_data, m_size}; }

    /// Room for the next bytes behind the present ones, at least `room` of them; empty when there is no memory for it.
    /// The bytes written there count once `commit` is told how many they are.
    [[nodiscard]] std::span<char> prepare(std::size_t room);
    void commit(std::size_t count) { m_size += count; }
    /// Adds bytes at the end; false, with nothing added, when there is no memory for them.
    [[nodiscard]] bool append(std::string_view more);

  private:
    [[nodiscard]] bool grow(std::size_t capacity);

    char* m_data = nullptr;
    std::size_t m_size = 0;
    std::size_t m_capacity = 0;
};

} // namespace torvo
