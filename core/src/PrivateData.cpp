#include "core/src/PrivateData.h"

namespace quillmarkclient {

PrivateData::~PrivateData() {
    if (context == nullptr)
        return;
    try {
        Shutdown(context, nullptr);
    } catch (...) {
        // A destructor has nobody to tell.
    }
}

MadeBlock::~MadeBlock() {
    if (block_ == nullptr)
        return;
    try {
        FreeMemory(context_, block_, nullptr);
    } catch (...) {
        // The operation's own answer stands.
    }
}

}  // namespace quillmarkclient
