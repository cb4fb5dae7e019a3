#pragma once

#include <cstdlib>
#include <optional>
#include <string>
#include <utility>

namespace torvo::testing {

/// Sets a variable of this process's environment, and puts back what it was.
class ScopedVariable {
  public:
    /// An absent value removes the variable.
    ScopedVariable(std::string name, const std::optional<std::string>& value) : m_name(std::move(name)) {
        if (const char* before = std::getenv(m_name.c_str()))
            m_before = before;
        set(value);
    }
    ~ScopedVariable() { set(m_before); }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

  private:
    void set(const std::optional<std::string>& value) const {
        if (value)
            ::setenv(m_name.c_str(), value->c_str(), 1);
        else
            ::unsetenv(m_name.c_str());
    }

    std::string m_name;
    std::optional<std::string> m_before;
};

} // namespace torvo::testing
