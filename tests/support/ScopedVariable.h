// The environment of the process, as a test wants it.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>
#include <utility>

namespace test {

// Null takes the variable out.
void SetVariable(const char* name, const char* value);

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
    void Set(const char* value) const { SetVariable(name_.c_str(), value); }

    std::string name_;
    std::optional<std::string> former_;
};

}  // namespace test
