#include "include/brmx.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <string_view>
#include <thread>

#ifdef _WIN32
#include <windows.h>

#include <psapi.h>
#else
#include <dlfcn.h>
#include <unistd.h>
#endif

// Loads the library, uses it and lets go of it, by the ways that library_life_test.py asks for:
// library_life LIBRARY WAY GROUP
namespace {

#ifdef _WIN32
using handle = HMODULE;
handle open(const char* library) { return LoadLibraryA(library); }
void* look_up(handle library, const char* name) { return reinterpret_cast<void*>(GetProcAddress(library, name)); }
void close(handle library) { FreeLibrary(library); }
bool is_loaded(const char* library) { return GetModuleHandleA(library) != nullptr; }
std::uint64_t resident_kilobytes() {
    PROCESS_MEMORY_COUNTERS counted{};
    GetProcessMemoryInfo(GetCurrentProcess(), &counted, sizeof counted);
    return counted.PagefileUsage / 1024;
}
constexpr bool stays_after_threads = false;
#else
using handle = void*;
handle open(const char* library) { return dlopen(library, RTLD_NOW | RTLD_LOCAL); }
void* look_up(handle library, const char* name) { return dlsym(library, name); }
void close(handle library) { dlclose(library); }
bool is_loaded(const char* library) {
    void* const found = dlopen(library, RTLD_NOW | RTLD_NOLOAD);
    if (found != nullptr) dlclose(found);
    return found != nullptr;
}
std::uint64_t resident_kilobytes() {
    std::uint64_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages >> pages; // the second number is the resident one
    return pages * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE)) / 1024;
}
constexpr bool stays_after_threads = true; // no thread can leave the library and end in one step
#endif

constexpr int rounds = 100;

void expect(bool holds, const char* what, int round) {
    if (holds) return;
    std::fprintf(stderr, "round %d: not so: %s\n", round, what);
    std::_Exit(1);
}
#define EXPECT(condition, round) expect(condition, #condition, round)

// The library as far as it is used here.
struct library {
    explicit library(const char* name) : loaded(open(name)) { EXPECT(loaded != nullptr, 0); }
    ~library() { close(loaded); }
    library(const library&) = delete;
    library& operator=(const library&) = delete;

    template <typename function>
    function* find(const char* name) const {
        return reinterpret_cast<function*>(look_up(loaded, name));
    }

    handle loaded;
    decltype(&BRMX_Engine_Initialize) initialize = find<decltype(BRMX_Engine_Initialize)>("BRMX_Engine_Initialize");
    decltype(&BRMX_Engine_Shutdown) shut_down = find<decltype(BRMX_Engine_Shutdown)>("BRMX_Engine_Shutdown");
    decltype(&BRMX_Session_CreateFromMemory) create =
        find<decltype(BRMX_Session_CreateFromMemory)>("BRMX_Session_CreateFromMemory");
    decltype(&BRMX_Session_Destroy) destroy = find<decltype(BRMX_Session_Destroy)>("BRMX_Session_Destroy");
    decltype(&BRMX_Spam_GetProbability) scan = find<decltype(BRMX_Spam_GetProbability)>("BRMX_Spam_GetProbability");
    decltype(&BRMX_Language_GetLanguageRelevance) language =
        find<decltype(BRMX_Language_GetLanguageRelevance)>("BRMX_Language_GetLanguageRelevance");
    decltype(&BRMX_Spam_SetCommunityServerGroup) set_group =
        find<decltype(BRMX_Spam_SetCommunityServerGroup)>("BRMX_Spam_SetCommunityServerGroup");
    decltype(&BRMX_Spam_GetCommunityHealth) health =
        find<decltype(BRMX_Spam_GetCommunityHealth)>("BRMX_Spam_GetCommunityHealth");
};

void work(const library& used, engine_status expected, int round) {
    constexpr std::string_view message = "Subject: hello\r\n\r\nHow are you, my dear friend of many words?\r\n";
    std::uint32_t session = 0;
    std::int32_t probability = -1;
    std::uint32_t language = 0;
    std::uint32_t relevance = 0;
    EXPECT(used.create(message.data(), message.size(), &session) == status_ok, round);
    EXPECT(used.scan(session, 60'000, &probability) == expected, round);
    EXPECT(probability >= 0, round);
    EXPECT(used.language(session, 0, &language, &relevance) == status_ok, round);
    EXPECT(used.destroy(session) == status_ok, round);
}

void join(const library& used, std::string_view group, int round) {
    const std::basic_string<brmx_char> name(group.begin(), group.end());
    EXPECT(used.set_group(name.data(), static_cast<std::uint32_t>(name.size()), 0) == status_ok, round);
    EXPECT(used.health(0, nullptr, nullptr, nullptr) == status_ok, round); // waits until the server has been found
}

// Each load is a new engine, and nothing stays of it; `use` may do anything that ends.
template <typename function>
void reload(const char* name, const function& use) {
    std::uint64_t after_some = 0;
    for (int round = 0; round < rounds; ++round) {
        {
            const library used(name);
            use(used, round);
        }
        EXPECT(!is_loaded(name), round);
        if (round == rounds / 5) after_some = resident_kilobytes();
    }
    EXPECT(resident_kilobytes() <= after_some + 1024, rounds);
}

void run_once(const library& used, int round) {
    EXPECT(used.initialize() == status_ok, round);
    work(used, community_unavailable, round);
    EXPECT(used.shut_down() == status_ok, round);
}

void reload_with_community(const char* name, const char* group) {
    const auto live = [group](const library& used, int round) {
        EXPECT(used.initialize() == status_ok, round);
        join(used, group, round);
        work(used, status_ok, round);
        EXPECT(used.shut_down() == status_ok, round);
    };
    if constexpr (!stays_after_threads) {
        reload(name, live);
    } else {
        {
            const library used(name);
            live(used, 0);
        }
        for (int round = 1; round < rounds; ++round) {
            EXPECT(is_loaded(name), round);
            const library used(name);
            EXPECT(used.initialize() == engine_already_initialized, round);
        }
    }
}

// A round of discovery is under way when the process ends.
void end_with_threads(const char* name, const char* group) {
    const library used(name);
    EXPECT(used.initialize() == status_ok, 0);
    join(used, group, 0);
    work(used, status_ok, 0);
    EXPECT(used.health(1, nullptr, nullptr, nullptr) == status_ok, 0);
    std::exit(0); // with the library held
}

// Callers are inside the library when the process ends, and stay there while a handler that was registered before the
// library came takes its time. Each goes on to get its right answers.
void end_with_callers(const char* name, const char* group) {
    constexpr int callers = 4;
    static std::atomic<int> at_work{0};
    std::atexit([] { std::this_thread::sleep_for(std::chrono::milliseconds(200)); });
    static const auto& used = *new library(name); // nobody lets go of it
    EXPECT(used.initialize() == status_ok, 0);
    if (*group != '\0') join(used, group, 0);
    for (int caller = 0; caller < callers; ++caller)
        std::thread([expected = *group != '\0' ? status_ok : community_unavailable] {
            for (int round = 0;; ++round) {
                work(used, expected, round);
                if (round == 0) ++at_work;
            }
        }).detach();
    while (at_work < callers)
        std::this_thread::yield();
    std::exit(0);
}

} // namespace

int main(int count, char** arguments) {
    if (count != 4) return 2;
    const char* const name = arguments[1];
    const char* const group = arguments[3];
    const std::string_view way = arguments[2];
    if (way == "without-community")
        reload(name, run_once);
    else if (way == "with-community")
        reload_with_community(name, group);
    else if (way == "end-with-threads")
        end_with_threads(name, group);
    else if (way == "end-with-callers")
        end_with_callers(name, group);
    else if (way == "end-with-callers-alone")
        end_with_callers(name, "");
    else
        return 2;
    return 0;
}
