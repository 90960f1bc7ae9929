// The webhook that backup products post their metadata to.

#include "tools/sandbox/Routes.h"

namespace sandbox {
namespace {

constexpr std::string_view kWebhookName = "brx-backup-metadata";

// The first document makes the machine known, each later one replaces what was known.
Answer receiveMetadata(ServiceState& state, const Call& call) {
    const std::string* name = findValue(call.query, "name");
    if (name == nullptr || *name != kWebhookName)
        return refusal(404, "There is no webhook of this name.");
    if (!call.body.contains("version") || !call.body["version"].is_number_integer())
        return refusal(400, "\"version\" must be a whole number");
    MetadataInbox& inbox = state.metadata();
    Answer answer = success({{"status", inbox.answer == MetadataAnswer::ok ? "Ok" : "Error"}});
    answer.status = inbox.document ? 200 : 201;
    inbox.document = call.request.body;
    return answer;
}

constexpr Route kRoutes[] = {
    {"POST", "/api/quillmark/webhook", Access::openOrBearer, BodyRule::json, "application/json",
     receiveMetadata},
};

}  // namespace

std::span<const Route> metadataRoutes() {
    return kRoutes;
}

}  // namespace sandbox
