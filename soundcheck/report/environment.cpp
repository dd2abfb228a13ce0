#include "report/environment.h"

#include "platform/system_info.h"
#include "platform/text.h"

namespace soundcheck {
namespace {

nlohmann::ordered_json orNull(const std::optional<std::string>& text) {
    return text ? nlohmann::ordered_json(*text) : nlohmann::ordered_json(nullptr);
}

} // namespace

nlohmann::ordered_json environmentOfSystem() {
    return {
        {"time", utcTimeText()}, {"windows", windowsVersion()}, {"wine", orNull(wineVersion())}, {"plugin", nullptr}};
}

nlohmann::ordered_json environmentOfPlugin(const Library& library) {
    const std::filesystem::path file = library.path();
    return {{"name", library.exports().orvosoundbackend_getInfo()->name},
            {"version", orNull(fileVersion(file))},
            {"path", pathText(file)}};
}

} // namespace soundcheck
