#include "core/src/core/TokenFiles.h"

namespace quillmarkclient_core {

const char* identityFileName = "LIC0";
const char* contextFileName = "LIC";

}  // namespace quillmarkclient_core
