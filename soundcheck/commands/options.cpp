#include "commands/options.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <sstream>

namespace soundcheck {
namespace {

std::string plain(double number) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(2) << number;
    std::string digits = text.str();
    digits.erase(digits.find_last_not_of('0') + 1);
    if (digits.back() == '.')
        digits.pop_back();
    return digits;
}

/** Tells a wrong number in words; the library's own range shows types and powers of ten. */
CLI::Validator between(double least, double most) {
    return {[least, most](const std::string& text) -> std::string {
                double number = 0;
                const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
                if (error != std::errc() || end != text.data() + text.size())
                    return "\"" + text + "\" is not a number";
                if (!(number >= least && number <= most)) // "nan" is neither
                    return text + " is not between " + plain(least) + " and " + plain(most);
                return {};
            },
            ""};
}

} // namespace

CLI::Option* addDevice(CLI::App& app, const std::string& name, std::string& device, const std::string& help) {
    return app.add_option(name, device, help)->type_name("DEVICE");
}

CLI::Option* addPath(CLI::App& app, const std::string& name, const std::string& kind, std::string& path,
                     const std::string& help) {
    return app.add_option(name, path, help)->type_name(kind);
}

CLI::Option* addSeconds(CLI::App& app, double& seconds, const std::string& help, double least, double most) {
    return app.add_option("--seconds", seconds, help)->type_name("N")->check(between(least, most));
}

CLI::Option* addMilliseconds(CLI::App& app, const std::string& name, double& milliseconds, const std::string& help) {
    return app.add_option(name, milliseconds, help)->type_name("MS")->check(between(0, kMostSeconds));
}

CLI::Option* addCount(CLI::App& app, const std::string& name, std::uint64_t& count, const std::string& help,
                      std::uint64_t least) {
    return app.add_option(name, count, help)
        ->type_name("N")
        ->check(between(static_cast<double>(least), kMostCounted));
}

} // namespace soundcheck
