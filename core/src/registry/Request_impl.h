#pragma once

#include "core/src/registry/Request.h"

namespace registry {

template <class Api>
Request<Api>::~Request() = default;

template <class Api>
void Request<Api>::AddHeader(const portable_stl::string& name, const portable_stl::string& value) {
    headers.push_back(NameValue{name, value}).value();
}

template <class Api>
std::uint32_t Request<Api>::GetFlags() const {
    return flags;
}

template <class Api>
void Request<Api>::SetHeader(const portable_stl::string& name, const portable_stl::string& value) {
    for (NameValue& header : headers) {
        if (header.name == name) {
            header.value = value;
            return;
        }
    }
    AddHeader(name, value);
}

template <class Api>
portable_stl::string Request<Api>::Describe() const {
    return DescribeRequest(url, headers, "\tbody: " + body + "\n");
}

}  // namespace registry
