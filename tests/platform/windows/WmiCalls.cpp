// The interfaces as tables of functions: a fake fills in those that it is asked for.
#define CINTERFACE

#include "tests/platform/windows/WmiCalls.h"

#include <objbase.h>
#include <oleauto.h>
#include <wbemidl.h>

#include <cstddef>
#include <ios>
#include <type_traits>
#include <utility>

namespace test {
namespace {

WmiCalls* Recorded() {
    return RecordOfThread<WmiCalls>();
}

template <class... Parts>
bool GoesOn(const char* name, const Parts&... parts) {
    return WriteDown<WmiCalls>(std::dec, name, parts...);
}

std::string Name(const void* object) {
    const auto found = Recorded()->objects.find(object);
    if (found == Recorded()->objects.end())
        return "(unknown)";
    return (found->second->references > 0 ? "" : "released ") + found->second->name;
}

std::string GuidText(REFGUID id) {
    wchar_t text[39] = L"";
    StringFromGUID2(id, text, 39);
    return Text(text);
}

std::string IsGiven(const void* argument) {
    return argument ? "given" : "(none)";
}

template <class Interface>
struct Object : Interface, WmiObject {};

template <class Interface>
ULONG WINAPI AddReference(Interface* self) {
    return static_cast<ULONG>(++static_cast<Object<Interface>*>(self)->references);
}

template <class Interface>
ULONG WINAPI Release(Interface* self) {
    (void)GoesOn("Release", Name(self));
    return static_cast<ULONG>(--static_cast<Object<Interface>*>(self)->references);
}

// What every object can do. The functions that nobody is to ask for stay null.
template <class Interface>
auto MakeTable() {
    std::remove_pointer_t<decltype(Interface::lpVtbl)> table{};
    table.AddRef = AddReference<Interface>;
    table.Release = Release<Interface>;
    return table;
}

template <class Made, class Interface>
void HandOut(std::shared_ptr<Made> object, Interface** place) {
    *place = object.get();
    Recorded()->objects[object.get()] = std::move(object);
}

struct Row : Object<IWbemClassObject> {
    WmiCalls::Value value;
};

HRESULT WINAPI Get(IWbemClassObject* self, LPCWSTR property, LONG flags, VARIANT* value, CIMTYPE* /*type*/,
                   LONG* /*flavor*/) {
    if (!GoesOn("Get", Name(self), Text(property), flags))
        return Recorded()->error;
    static_cast<Row*>(self)->value(*value);
    return S_OK;
}

auto MakeRow(std::string name, WmiCalls::Value value) {
    static auto table = [] {
        auto made = MakeTable<IWbemClassObject>();
        made.Get = Get;
        return made;
    }();
    auto row = std::make_shared<Row>();
    row->lpVtbl = &table;
    row->name = std::move(name);
    row->value = std::move(value);
    return row;
}

struct Rows : Object<IEnumWbemClassObject> {
    std::vector<WmiCalls::Value> values;
    std::size_t next = 0;
};

HRESULT WINAPI Next(IEnumWbemClassObject* self, LONG timeout, ULONG wanted, IWbemClassObject** row,
                    ULONG* count) {
    auto& rows = *static_cast<Rows*>(self);
    *row = nullptr;
    *count = 0;
    if (!GoesOn("Next", Name(self), timeout, wanted)) {
        *count = 1;  // which says nothing after a failure
        return Recorded()->error;
    }
    if (rows.next == rows.values.size())
        return Recorded()->end;
    const auto& value = rows.values[rows.next++];
    HandOut(MakeRow(rows.name + " " + std::to_string(rows.next), value), row);
    *count = 1;
    return S_OK;
}

auto MakeRows(std::string name, std::vector<WmiCalls::Value> values) {
    static auto table = [] {
        auto made = MakeTable<IEnumWbemClassObject>();
        made.Next = Next;
        return made;
    }();
    auto rows = std::make_shared<Rows>();
    rows->lpVtbl = &table;
    rows->name = std::move(name);
    rows->values = std::move(values);
    return rows;
}

HRESULT WINAPI ExecuteQuery(IWbemServices* self, BSTR language, BSTR query, LONG flags, IWbemContext* context,
                            IEnumWbemClassObject** rows) {
    *rows = nullptr;
    if (!GoesOn("ExecQuery", Name(self), Text(language), Text(query), flags, IsGiven(context)))
        return Recorded()->error;
    const bool isForAdapters = Text(query).find("Win32_NetworkAdapter") != std::string::npos;
    HandOut(
        isForAdapters ? MakeRows("adapters", Recorded()->adapters) : MakeRows("systems", Recorded()->systems),
        rows);
    return S_OK;
}

auto MakeServices() {
    static auto table = [] {
        auto made = MakeTable<IWbemServices>();
        made.ExecQuery = ExecuteQuery;
        return made;
    }();
    auto services = std::make_shared<Object<IWbemServices>>();
    services->lpVtbl = &table;
    services->name = "services";
    return services;
}

HRESULT WINAPI ConnectServer(IWbemLocator* self, BSTR space, BSTR user, BSTR password, BSTR locale,
                             LONG flags, BSTR authority, IWbemContext* context, IWbemServices** services) {
    *services = nullptr;
    if (!GoesOn("ConnectServer", Name(self), Text(space), Text(user), Text(password), Text(locale), flags,
                Text(authority), IsGiven(context)))
        return Recorded()->error;
    HandOut(MakeServices(), services);
    return S_OK;
}

auto MakeLocator() {
    static auto table = [] {
        auto made = MakeTable<IWbemLocator>();
        made.ConnectServer = ConnectServer;
        return made;
    }();
    auto locator = std::make_shared<Object<IWbemLocator>>();
    locator->lpVtbl = &table;
    locator->name = "locator";
    return locator;
}

HRESULT WINAPI Initialize(LPVOID reserved, DWORD model) {
    static const auto real = FunctionOf("ole32.dll", &Initialize, "CoInitializeEx");
    if (!Recorded())
        return real(reserved, model);
    (void)GoesOn("CoInitializeEx", IsGiven(reserved), model);
    return Recorded()->initialized;
}

void WINAPI Uninitialize() {
    static const auto real = FunctionOf("ole32.dll", &Uninitialize, "CoUninitialize");
    if (!Recorded())
        return real();
    (void)GoesOn("CoUninitialize");
}

HRESULT WINAPI CreateInstance(REFCLSID kind, LPUNKNOWN outer, DWORD context, REFIID interfaceId,
                              LPVOID* object) {
    static const auto real = FunctionOf("ole32.dll", &CreateInstance, "CoCreateInstance");
    if (!Recorded())
        return real(kind, outer, context, interfaceId, object);
    *object = nullptr;
    if (!GoesOn("CoCreateInstance", GuidText(kind), IsGiven(outer), context, GuidText(interfaceId)))
        return Recorded()->error;
    HandOut(MakeLocator(), reinterpret_cast<IWbemLocator**>(object));
    return S_OK;
}

HRESULT WINAPI SetProxyBlanket(IUnknown* proxy, DWORD authentication, DWORD authorisation, OLECHAR* principal,
                               DWORD level, DWORD impersonation, RPC_AUTH_IDENTITY_HANDLE identity,
                               DWORD capabilities) {
    static const auto real = FunctionOf("ole32.dll", &SetProxyBlanket, "CoSetProxyBlanket");
    if (!Recorded())
        return real(proxy, authentication, authorisation, principal, level, impersonation, identity,
                    capabilities);
    return GoesOn("CoSetProxyBlanket", Name(proxy), authentication, authorisation, Text(principal), level,
                  impersonation, IsGiven(identity), capabilities)
               ? S_OK
               : Recorded()->error;
}

// No lines for the texts: what counts is that each goes back.
BSTR WINAPI AllocateText(const OLECHAR* text) {
    static const auto real = FunctionOf("oleaut32.dll", &AllocateText, "SysAllocString");
    if (Recorded() && ++Recorded()->texts == Recorded()->failingText)
        return nullptr;
    const BSTR made = real(text);
    if (Recorded() && made)
        ++Recorded()->heldTexts;
    return made;
}

void WINAPI FreeText(BSTR text) {
    static const auto real = FunctionOf("oleaut32.dll", &FreeText, "SysFreeString");
    if (Recorded() && text)
        --Recorded()->heldTexts;
    real(text);
}

}  // namespace

// Where the compiler looks for an imported function. Those of the import libraries are not linked then.
extern "C" {
decltype(&Initialize) importedInitialize __asm__("__imp_CoInitializeEx") = &Initialize;
decltype(&Uninitialize) importedUninitialize __asm__("__imp_CoUninitialize") = &Uninitialize;
decltype(&CreateInstance) importedCreateInstance __asm__("__imp_CoCreateInstance") = &CreateInstance;
decltype(&SetProxyBlanket) importedSetProxyBlanket __asm__("__imp_CoSetProxyBlanket") = &SetProxyBlanket;
decltype(&AllocateText) importedAllocateText __asm__("__imp_SysAllocString") = &AllocateText;
decltype(&FreeText) importedFreeText __asm__("__imp_SysFreeString") = &FreeText;
}

std::vector<std::string> WmiCalls::HeldObjects() const {
    std::vector<std::string> held;
    for (const auto& [place, object] : objects) {
        if (object->references != 0)
            held.push_back(object->name + ": " + std::to_string(object->references));
    }
    return held;
}

}  // namespace test
