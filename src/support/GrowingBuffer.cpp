#include "support/GrowingBuffer.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <utility>

namespace torvo {

namespace {

constexpr std::size_t kFirstCapacity = std::size_t{1} << 20;
constexpr std::size_t kHugePage = std::size_t{2} << 20;
/// From here on the bytes come in huge pages: one fault for 512 pages, and at most one such page is half empty.
constexpr std::size_t kHugePagesFrom = std::size_t{16} << 20;

char* mapPages(std::size_t size, int protection) {
    void* const pages = ::mmap(nullptr, size, protection, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    return pages == MAP_FAILED ? nullptr : static_cast<char*>(pages);
}

std::size_t roundedUp(std::size_t size, std::size_t unit) {
    return (size + unit - 1) / unit * unit;
}

/// Reserves address space that begins where a huge page may begin; `size` is a multiple of a huge page.
char* reserveAligned(std::size_t size) {
    char* const pages = mapPages(size + kHugePage, PROT_NONE);
    if (pages == nullptr)
        return nullptr;
    const std::size_t before = (kHugePage - reinterpret_cast<std::uintptr_t>(pages) % kHugePage) % kHugePage;
    if (before > 0)
        ::munmap(pages, before);
    ::munmap(pages + before + size, kHugePage - before);
    return pages + before;
}

} // namespace

GrowingBuffer::GrowingBuffer(GrowingBuffer&& other) noexcept
    : m_data(std::exchange(other.m_data, nullptr)),
      m_size(std::exchange(other.m_size, 0)),
      m_capacity(std::exchange(other.m_capacity, 0)) {}

GrowingBuffer& GrowingBuffer::operator=(GrowingBuffer&& other) noexcept {
    std::swap(m_data, other.m_data);
    std::swap(m_size, other.m_size);
    std::swap(m_capacity, other.m_capacity);
    return *this;
}

GrowingBuffer::~GrowingBuffer() {
    if (m_data != nullptr)
        ::munmap(m_data, m_capacity);
}

std::span<char> GrowingBuffer::prepare(std::size_t room) {
    if (m_capacity - m_size < room) {
        if (room > std::numeric_limits<std::size_t>::max() / 4 - m_size)
            return {};
        const std::size_t needed = m_size + room;
        if (!grow(std::max({needed, m_capacity * 2, kFirstCapacity})) && !grow(needed))
            return {};
    }
    return {m_data + m_size, m_capacity - m_size};
}

bool GrowingBuffer::append(std::string_view more) {
    if (more.empty())
        return true;
    const auto room = prepare(more.size());
    if (room.empty())
        return false;
    std::memcpy(room.data(), more.data(), more.size());
    commit(more.size());
    return true;
}

bool GrowingBuffer::grow(std::size_t capacity) {
    capacity = roundedUp(capacity, kFirstCapacity);
    if (m_data == nullptr) {
        m_data = mapPages(capacity, PROT_READ | PROT_WRITE);
        m_capacity = m_data == nullptr ? 0 : capacity;
        return m_data != nullptr;
    }
    if (capacity < kHugePagesFrom) {
        void* const grown = ::mremap(m_data, m_capacity, capacity, MREMAP_MAYMOVE);
        if (grown == MAP_FAILED)
            return false;
        m_data = static_cast<char*>(grown);
        m_capacity = capacity;
        return true;
    }

    capacity = roundedUp(capacity, kHugePage);
    char* const target = reserveAligned(capacity);
    if (target == nullptr)
        return false;
    if (::mremap(m_data, m_capacity, capacity, MREMAP_MAYMOVE | MREMAP_FIXED, target) == MAP_FAILED) {
        ::munmap(target, capacity);
        return false;
    }
    ::madvise(target, capacity, MADV_HUGEPAGE);
    m_data = target;
    m_capacity = capacity;
    return true;
}

} // namespace torvo
