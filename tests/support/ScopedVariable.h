// The environment of the process, as a test wants it.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>
#include <utility>

namespace test {

// Sets a variable of the environment, or takes it out (null), until the scope ends.
class ScopedVariable {
public:
    ScopedVariable(std::string name, const char* value) : name_(std::move(name)) {
        if (const char* former = std::getenv(name_.c_str()))
            former_ = former;
        Set(value);
    }
    ~ScopedVariable() { Set(former_ ? former_->c_str() : nullptr); }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

private:
    void Set(const char* value) const {
        if (value)
            setenv(name_.c_str(), value, 1);
        else
            unsetenv(name_.c_str());
    }

    std::string name_;
    std::optional<std::string> former_;
};

}  // namespace test
