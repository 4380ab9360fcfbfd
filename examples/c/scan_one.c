/*
 * Scans one message; prints how probably it is spam, from 0 to 100, and why.
 *
 *     scan_one FILE     on Windows any name, elsewhere one in UTF-8
 *     scan_one          reads the message from standard input
 *
 * Ends with 0 and an answer, with 1 and the reason why there is none, or with 2 after a wrong call.
 */
#include <brmx.h>

#include <locale.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#include <wchar.h>
#include <windows.h>
#define main_with_paths wmain /* a file's name need not fit into the system's code page */
typedef wchar_t path_char;
#else
#include <uchar.h>
#define main_with_paths main
typedef char path_char;
#endif

#define NAMED(status)                                                                                                  \
    { status, #status }
static const struct {
    engine_status status;
    const char* name;
} status_names[] = {
    NAMED(status_ok),
    NAMED(status_failed),
    NAMED(status_out_of_memory),
    NAMED(buffer_too_small),
    NAMED(index_out_of_range),
    NAMED(null_argument),
    NAMED(file_not_loaded),
    NAMED(engine_not_initialized),
    NAMED(engine_already_initialized),
    NAMED(engine_shut_down),
    NAMED(build_mismatch),
    NAMED(message_too_deep),
    NAMED(unknown_session),
    NAMED(session_busy),
    NAMED(community_unavailable),
    NAMED(community_discovery_pending),
    NAMED(community_protocol_error),
    NAMED(community_timed_out),
    NAMED(community_invalid_credentials),
    NAMED(not_implemented),
};
#undef NAMED

static const char* status_name(engine_status status) {
    for (size_t i = 0; i < sizeof status_names / sizeof *status_names; ++i) {
        if (status_names[i].status == status) return status_names[i].name;
    }
    return "a status of a newer library";
}

/* Complains unless all went well. */
static int succeeded(engine_status status, const char* what) {
    if (status == status_ok) return 1;
    fprintf(stderr, "scan_one: %s: %s\n", what, status_name(status));
    return 0;
}

/* A failure of the community is none of the scan: the number then comes from the tests of the message, and from what
 * was answered before the failure. */
static int has_answer(engine_status status) {
    return status == status_ok || (status >= community_unavailable && status <= community_invalid_credentials);
}

#ifdef _WIN32

static void prepare_streams(void) {
    _setmode(_fileno(stdin), _O_BINARY); /* the bytes of the message, not a text */
    _setmode(_fileno(stdout), _O_BINARY);
    SetConsoleOutputCP(CP_UTF8);
}

static engine_status open_file(const path_char* path, uint32_t* handle) {
    return BRMX_Session_CreateFromFile(path, (uint32_t)wcslen(path), handle);
}

#else

static void prepare_streams(void) { setlocale(LC_CTYPE, "C.UTF-8"); /* which mbrtoc16 goes by */ }

static engine_status open_file(const path_char* path, uint32_t* handle) {
    size_t left = strlen(path) + 1;                        /* the terminator shows mbrtoc16 the end */
    brmx_char* const units = malloc(left * sizeof *units); /* no character has more units than bytes */
    uint32_t count = 0;
    mbstate_t state;
    engine_status status = file_not_loaded;
    if (units == NULL) return status_out_of_memory;
    memset(&state, 0, sizeof state);
    for (;;) {
        const size_t taken = mbrtoc16(&units[count], path, left, &state);
        if (taken == (size_t)-1 || taken == (size_t)-2) break; /* no UTF-8 */
        if (taken == 0) {
            status = BRMX_Session_CreateFromFile(units, count, handle);
            break;
        }
        ++count;
        if (taken == (size_t)-3) continue; /* the second unit of a character that has two */
        path += taken;
        left -= taken;
    }
    free(units);
    return status;
}

#endif

/* Reads to the end. The interface counts bytes in 32 bits, and so does this. */
static engine_status open_stream(FILE* in, uint32_t* handle) {
    engine_status status = file_not_loaded;
    size_t size = 0;
    size_t room = 1 << 16;
    char* data = malloc(room);
    while (data != NULL && size <= UINT32_MAX) {
        char* larger;
        size += fread(data + size, 1, room - size, in);
        if (size < room) break;
        room *= 2;
        larger = realloc(data, room);
        if (larger == NULL) free(data);
        data = larger;
    }
    if (data == NULL) return status_out_of_memory;
    /* The library makes a copy, so the memory is ours again as soon as the call is over. */
    if (!ferror(in) && size <= UINT32_MAX) status = BRMX_Session_CreateFromMemory(data, (uint32_t)size, handle);
    free(data);
    return status;
}

/* Reads one line of the trace into a buffer that grows as needed and serves all lines. A length that was written is
 * good for this moment only: whoever shares a session with other threads finds another trace at the next call. So the
 * question is repeated until the answer fits. */
static engine_status read_line(uint32_t handle, uint32_t line, uint32_t* indent, brmx_char** text, uint32_t* room,
                               uint32_t* length) {
    for (;;) {
        brmx_char* larger;
        engine_status status;
        *length = *room;
        status = BRMX_Session_GetLastTrace(handle, line, indent, *text, length);
        if (status != buffer_too_small) return status;
        if (*length == 0) *length = 1; /* an empty line needs a buffer, too */
        larger = realloc(*text, *length * sizeof *larger);
        if (larger == NULL) return status_out_of_memory;
        *text = larger;
        *room = *length;
    }
}

/* As UTF-8. The trace quotes what a spammer wrote, and a terminal obeys control characters: they become blanks. */
static void print_text(const brmx_char* text, uint32_t length) {
    for (uint32_t i = 0; i < length; ++i) {
        uint32_t c = text[i];
        const int pair = c >= 0xD800 && c < 0xDC00 && i + 1 < length && text[i + 1] >= 0xDC00 && text[i + 1] < 0xE000;
        if (pair) {
            c = 0x10000 + ((c - 0xD800) << 10) + ((uint32_t)text[++i] - 0xDC00);
        } else if (c >= 0xD800 && c < 0xE000) {
            c = 0xFFFD; /* half a character */
        } else if (c < 0x20 || (c >= 0x7F && c < 0xA0)) {
            c = ' ';
        }
        if (c < 0x80) {
            putchar((int)c);
            continue;
        }
        if (c < 0x800) {
            putchar((int)(0xC0 | c >> 6));
        } else {
            if (c < 0x10000) {
                putchar((int)(0xE0 | c >> 12));
            } else {
                putchar((int)(0xF0 | c >> 18));
                putchar((int)(0x80 | (c >> 12 & 0x3F)));
            }
            putchar((int)(0x80 | (c >> 6 & 0x3F)));
        }
        putchar((int)(0x80 | (c & 0x3F)));
    }
}

static engine_status print_trace(uint32_t handle) {
    brmx_char* text = NULL;
    uint32_t room = 0;
    engine_status status = status_ok;
    for (uint32_t line = 0; status == status_ok; ++line) {
        uint32_t indent = 0;
        uint32_t length = 0;
        status = read_line(handle, line, &indent, &text, &room, &length);
        if (status != status_ok) break;
        if (length > 0) printf("%*s", (int)(4 * indent), "");
        print_text(text, length);
        putchar('\n');
    }
    free(text);
    return status == index_out_of_range ? status_ok : status; /* that is how the end is told */
}

static int scan(uint32_t handle) {
    int32_t probability = 0;
    const engine_status status = BRMX_Spam_GetProbability(handle, 0, &probability);
    if (!has_answer(status)) return succeeded(status, "the scan failed");
    printf("%d\n", (int)probability);
    return succeeded(print_trace(handle), "the trace cannot be read");
}

int main_with_paths(int count, path_char** values) {
    uint32_t handle = 0;
    int good;
    if (count > 2) {
        fputs("usage: scan_one [FILE]\n", stderr);
        return 2;
    }
    prepare_streams();
    if (!succeeded(BRMX_Engine_Initialize(), "the engine did not start")) return 1;
    good = succeeded(count == 2 ? open_file(values[1], &handle) : open_stream(stdin, &handle),
                     "the message cannot be opened");
    if (good) {
        good = scan(handle);
        /* First the sessions and then the engine: what is open after the shutdown stays until the process ends. */
        good &= succeeded(BRMX_Session_Destroy(handle), "the session did not end");
    }
    good &= succeeded(BRMX_Engine_Shutdown(), "the engine did not end");
    if (fflush(stdout) != 0 || ferror(stdout)) {
        fputs("scan_one: standard output cannot be written\n", stderr);
        good = 0;
    }
    return good ? 0 : 1;
}
