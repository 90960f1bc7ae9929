#include "platform/windows/Wmi.h"

#include <oleauto.h>

#include <new>
#include <string_view>

#include "platform/windows/TextEncoding.h"

namespace quillmarkclient_windows {
namespace {

class Text {
public:
    explicit Text(const wchar_t* text) : text_(SysAllocString(text)) {
        if (!text_)
            throw std::bad_alloc();
    }
    ~Text() { SysFreeString(text_); }
    Text(const Text&) = delete;
    Text& operator=(const Text&) = delete;

    [[nodiscard]] BSTR Get() const { return text_; }

private:
    BSTR text_;
};

class Variant {
public:
    Variant() { VariantInit(&value_); }
    ~Variant() { VariantClear(&value_); }
    Variant(const Variant&) = delete;
    Variant& operator=(const Variant&) = delete;

    [[nodiscard]] VARIANT* Get() { return &value_; }
    // Empty for a value that is no text and can't become one.
    [[nodiscard]] std::string TakeText() {
        if (FAILED(VariantChangeType(&value_, &value_, 0, VT_BSTR)) || !value_.bstrVal)
            return {};
        return ToUtf8(std::wstring_view(value_.bstrVal, SysStringLen(value_.bstrVal)));
    }

private:
    VARIANT value_;
};

}  // namespace

WmiSession::WmiSession() {
    if (!Connect()) {
        services_.Reset();
        locator_.Reset();
    }
}

bool WmiSession::Connect() {
    const Text space(L"ROOT\\CIMV2");
    return SUCCEEDED(CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemLocator,
                                      reinterpret_cast<void**>(locator_.Receive()))) &&
           SUCCEEDED(locator_->ConnectServer(space.Get(), nullptr, nullptr, nullptr, 0, nullptr, nullptr,
                                             services_.Receive())) &&
           SUCCEEDED(CoSetProxyBlanket(services_.Get(), RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr,
                                       RPC_C_AUTHN_LEVEL_CALL, RPC_C_IMP_LEVEL_IMPERSONATE, nullptr,
                                       EOAC_NONE));
}

std::vector<std::string> WmiSession::Query(const wchar_t* query, const wchar_t* property) const {
    std::vector<std::string> values;
    if (!services_)
        return values;
    const Text language(L"WQL");
    const Text text(query);
    ComPointer<IEnumWbemClassObject> rows;
    if (FAILED(services_->ExecQuery(language.Get(), text.Get(),
                                    WBEM_FLAG_FORWARD_ONLY | WBEM_FLAG_RETURN_IMMEDIATELY, nullptr,
                                    rows.Receive())) ||
        !rows)
        return values;
    for (;;) {
        ComPointer<IWbemClassObject> row;
        ULONG count = 0;
        const HRESULT result = rows->Next(static_cast<LONG>(WBEM_INFINITE), 1, row.Receive(), &count);
        if (FAILED(result) || count == 0)
            return values;
        Variant value;
        const bool isThere = SUCCEEDED(row->Get(property, 0, value.Get(), nullptr, nullptr));
        values.push_back(isThere ? value.TakeText() : std::string());
    }
}

}  // namespace quillmarkclient_windows
