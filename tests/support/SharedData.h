// Opens a client's share of its core to a test. For one source of a program.
#pragma once

#include <memory>

#include "core/src/PrivateData.h"
#include "core/src/QuillmarkClient.h"

namespace quillmarkclient {

// An explicit instantiation may name private members.
std::shared_ptr<PrivateData>& SharedData(QuillmarkClient& client);
template <std::shared_ptr<PrivateData> QuillmarkClient::*Member>
struct OpenedData {
    friend std::shared_ptr<PrivateData>& SharedData(QuillmarkClient& client) { return client.*Member; }
};
template struct OpenedData<&QuillmarkClient::data_>;

}  // namespace quillmarkclient
