#pragma once

#include <windows.h>

#include <objbase.h>
#include <wbemidl.h>

#include <string>
#include <vector>

namespace quillmarkclient_windows {

// A pointer to a COM object, released when the scope ends.
template <class Interface>
class ComPointer {
public:
    ComPointer() = default;
    ~ComPointer() { Reset(); }
    ComPointer(const ComPointer&) = delete;
    ComPointer& operator=(const ComPointer&) = delete;

    // Where a call puts a new pointer; the former one is released.
    [[nodiscard]] Interface** Receive() {
        Reset();
        return &object_;
    }
    void Reset() {
        if (object_)
            object_->Release();
        object_ = nullptr;
    }
    [[nodiscard]] Interface* Get() const { return object_; }
    Interface* operator->() const { return object_; }
    explicit operator bool() const { return object_ != nullptr; }

private:
    Interface* object_ = nullptr;
};

// COM for the calling thread until the scope ends. A host that has set up COM for the thread in another way
// keeps its own, and the work goes on with that.
class ComScope {
public:
    ComScope() : isOurs_(SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED))) {}
    ~ComScope() {
        if (isOurs_)
            CoUninitialize();
    }
    ComScope(const ComScope&) = delete;
    ComScope& operator=(const ComScope&) = delete;

private:
    bool isOurs_;
};

// A connection to the machine's own WMI. Where there is none, queries yield nothing. One thread.
class WmiSession {
public:
    WmiSession();

    // `property` of each row that answers `query`, as text; empty where it has none. Throws as the standard
    // containers do.
    [[nodiscard]] std::vector<std::string> Query(const wchar_t* query, const wchar_t* property) const;

private:
    [[nodiscard]] bool Connect();

    ComScope com_;  // outlives the pointers
    ComPointer<IWbemLocator> locator_;
    ComPointer<IWbemServices> services_;
};

}  // namespace quillmarkclient_windows
