#pragma once

#include <unistd.h>

#include <utility>

namespace torvo {

/// Owns one open file descriptor and closes it at the end of its life. -1 stands for none.
class Descriptor {
  public:
    Descriptor() = default;
    explicit Descriptor(int descriptor) : m_descriptor(descriptor) {}
    Descriptor(Descriptor&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        if (this != &other) {
            reset();
            m_descriptor = std::exchange(other.m_descriptor, -1);
        }
        return *this;
    }
    ~Descriptor() { reset(); }

    [[nodiscard]] int get() const { return m_descriptor; }
    [[nodiscard]] bool isOpen() const { return m_descriptor >= 0; }
    void reset() {
        if (m_descriptor >= 0)
            ::close(std::exchange(m_descriptor, -1));
    }

  private:
    int m_descriptor = -1;
};

} // namespace torvo
