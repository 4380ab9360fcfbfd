#include "tests/engine_load/messages.h"

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace {

std::string made_up(std::uint32_t number) {
    const std::string own = std::to_string(number);
    const std::string address = "203.1." + std::to_string(number >> 8) + "." + std::to_string(number & 0xFF);
    std::string message = "Received: from relay (" + address + ") by here\r\nSubject: message " + own +
                          "\r\nMessage-ID: <" + own + "@" + address + ">\r\n\r\n";
    const std::uint32_t links = number % 8 == 0 ? 40 : 2;
    for (std::uint32_t link = 0; link < links; ++link)
        message += "see http://shop" + own + ".example.com/offer/" + std::to_string(link) + " today\r\n";
    for (std::uint32_t word = 0; word < 60; ++word) // digits are no words
        message += std::string(1 + (number + word) % 7, static_cast<char>('a' + (number / 7 + word * word) % 26)) + " ";
    return message + "\r\n";
}

std::vector<std::string> read_folder(const std::filesystem::path& folder) {
    std::vector<std::string> all;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        if (!entry.is_regular_file()) continue;
        std::ifstream file(entry.path(), std::ios::binary);
        all.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    }
    if (all.empty()) throw std::runtime_error("no messages in " + folder.string());
    return all;
}

} // namespace

std::vector<std::string> messages_to_scan() {
    if (const char* const folder = std::getenv("BRMX_LOAD_MESSAGES")) return read_folder(folder);
    std::vector<std::string> all;
    for (std::uint32_t number = 0; number < 512; ++number)
        all.push_back(made_up(number));
    return all;
}
