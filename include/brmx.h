/*
 * Brimwarden: how likely is it that a message is spam, and why.
 *
 *     BRMX_Engine_Initialize();
 *     BRMX_Session_CreateFromMemory(data, length, &handle);
 *     BRMX_Spam_GetProbability(handle, 0, &probability);      0 to 100
 *     BRMX_Session_GetLastTrace(handle, line, ...);           the explanation, line by line
 *     BRMX_Session_Destroy(handle);
 *
 * For C11 and C++, on Windows and elsewhere. What holds for every function:
 *
 * Threads. Any function may be called from any thread at any time, with one exception at the end of the engine's life,
 * see BRMX_Engine_Shutdown. Functions that work on different sessions run side by side. A session serves one call at
 * a time: a second one gets session_busy and is not queued. Scans, reports and revokes ask for the session last: while
 * another thread sets the server group or shuts down they wait for that. A thread that is inside a function must not be
 * cancelled or ended, and needs 64 KB of stack. The calling convention is the platform's default.
 *
 * Text is UTF-16 in units of brmx_char, with an explicit length in units: no terminator is read or written. A trace
 * quotes the message, whose sender can put lone surrogates there: convert it with a replacement for these.
 *
 * Results of variable length go to a buffer of the caller's. Its size goes in by the length argument, in units, and
 * the length of the result comes back by the same argument. If the buffer is null or too small nothing is copied, the
 * length that is needed is written and the function returns buffer_too_small; so ask once with a null buffer and once
 * with a buffer of the size that was written.
 *
 * Failures are statuses; no exception leaves the library. Where nothing else is said, an out argument is written only
 * with status_ok. Beside the statuses listed at each function, those marked (*) also return status_out_of_memory and
 * status_failed.
 *
 * The engine reads no configuration, keeps no files, and takes no action: it gives a number and has no threshold.
 */
#ifndef BRMX_H
#define BRMX_H

#include <stddef.h>
#include <stdint.h>
#if !defined(_WIN32) && !defined(__cplusplus)
#include <uchar.h>
#endif

#if defined(_WIN32) && defined(BRMX_BUILDING)
#define BRMX_EXPORT __declspec(dllexport)
#elif defined(_WIN32)
#define BRMX_EXPORT __declspec(dllimport)
#else
#define BRMX_EXPORT __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* One unit of UTF-16, or a lone surrogate. */
#ifdef _WIN32
typedef wchar_t brmx_char;
#else
typedef char16_t brmx_char;
#endif

/* The result of every function, 32 bits wide. The high 16 bits name the group: general, lifecycle, session, community,
 * interface. */
#ifdef __cplusplus
enum engine_status : uint32_t
#else
typedef uint32_t engine_status;
enum
#endif
{
    status_ok = 0x00000000,
    status_failed = 0x00000001,        /* something went wrong that no other status names */
    status_out_of_memory = 0x00000002, /* also: no number was free for a session */
    buffer_too_small = 0x00000003,     /* see above; the length was written */
    index_out_of_range = 0x00000004,   /* the end of what is counted by the index */
    null_argument = 0x00000005,        /* a required pointer is null; tested before anything else */
    file_not_loaded = 0x00000006,      /* the file cannot be opened or read */

    engine_not_initialized = 0x00010001,
    engine_already_initialized = 0x00010002, /* also after a shutdown */
    engine_shut_down = 0x00010003,
    build_mismatch = 0x00010005, /* the library is another build than the client expects */

    message_too_deep = 0x00020000, /* parts nested more than 64 deep */
    unknown_session = 0x00020001,  /* no session has this handle */
    session_busy = 0x00020002,     /* another thread works on this session; try again */

    /* A scan gives its number with these too. It then comes from the local tests, and from what the community had
     * answered before it failed. */
    community_unavailable = 0x00030001,         /* no server group was set */
    community_discovery_pending = 0x00030002,   /* no server is known to answer at the moment */
    community_protocol_error = 0x00030003,      /* a server's answer makes no sense */
    community_timed_out = 0x00030005,           /* the time or all attempts are used up */
    community_invalid_credentials = 0x00030006, /* the servers refuse the session's credentials */

    not_implemented = 0x00040000 /* a place is kept for the function, and nothing stands behind it */
};

/* ---- The engine: loaded, running, shut down, in this order and once in a load of the library ----
 *
 * Starting, shutting down, version, compatibility and state are served one at a time: each of them waits while another
 * thread is inside a BRMX_Engine_Shutdown or a BRMX_Engine_SetState that blocks. */

/* Starts the engine. No network, no file, no thread; returns at once.
 * returns        status_ok, engine_already_initialized (*) */
BRMX_EXPORT engine_status BRMX_Engine_Initialize(void);

/* Shuts the engine down for good. Blocks until every call that works on a session has returned.
 *
 * THE TRAP: end first all threads that scan, report, revoke, ask for the health or set the server group. One of these
 * calls that starts while this function waits, and this function, can wait for each other without end.
 *
 * Open sessions stay: their traces can still be read and they can still be scanned, without a community, but not be
 * destroyed. Their memory is given back by the end of the process only.
 * returns        status_ok, engine_not_initialized, engine_shut_down (*) */
BRMX_EXPORT engine_status BRMX_Engine_Shutdown(void);

/* The version, as in "3.7.0.3", and the words that tell this build from others. In every state of the engine.
 * version        buffer, or null
 * version_length in: its size, out: length of the version
 * build          buffer, or null
 * build_length   in: its size, out: length of the build text
 *                the two buffers are one: unless both are given and large enough, neither is written
 * returns        status_ok, buffer_too_small, null_argument (a length) (*) */
BRMX_EXPORT engine_status BRMX_Engine_GetVersion(brmx_char* version, uint32_t* version_length, brmx_char* build,
                                                 uint32_t* build_length);

/* Tells whether the library is the build that a client was made for. In every state of the engine.
 * build, build_length   the build text that the client expects; compared whole, with case
 * returns        status_ok, build_mismatch, null_argument (*) */
BRMX_EXPORT engine_status BRMX_Engine_VerifyCompatibility(const brmx_char* build, uint32_t build_length);

/* Counts the blocks and bytes of the heap that the library allocates from, which is the whole process's. In every state
 * of the engine. Walks the heap, and other threads that allocate can wait for it meanwhile. The counts are cut to 32
 * bits; an argument that is null is passed over. Outside Windows the heap does not count its blocks in use: there
 * used_blocks is how many pieces it has taken from the system, the other three are what they say.
 * returns        status_ok */
BRMX_EXPORT engine_status BRMX_Engine_GetHeapInformation(uint32_t* used_blocks, uint32_t* used_bytes,
                                                         uint32_t* free_blocks, uint32_t* free_bytes);

/* Counts the sessions.
 * open_sessions  out: those that exist now; null is passed over
 * sessions_made  out: the last handle given out, which counts all that were ever made; null is passed over
 * returns        status_ok, engine_not_initialized, engine_shut_down (*) */
BRMX_EXPORT engine_status BRMX_Engine_GetSessionInformation(uint32_t* open_sessions, uint32_t* sessions_made);

/* ---- State: what a client keeps from one run to the next, as one text ---- */

/* Hands out the count of sessions, so that handles go on from there, and the server group. In every state of the
 * engine.
 *
 * THE TRAP: each call adds a record to the text, also to the one that BRMX_Engine_SetState was given, and that function
 * reads the first record only, which is the oldest. So keep the last one, as BRMX_Engine_GetLastState gives it.
 * text           out: owned by the library, good until the next call of either function; no terminator
 * length         out: its length
 * returns        status_ok, null_argument (*) */
BRMX_EXPORT engine_status BRMX_Engine_GetState(const brmx_char** text, uint32_t* length);

/* Takes such a text back. If it names a server group, this is also BRMX_Spam_SetCommunityServerGroup, after the count
 * of sessions has been set. The text is kept, good or bad: a later BRMX_Engine_GetState adds to it.
 *
 * Call it before the first session: with a count below the present one, handles of this run are given out again. One
 * that still names an open session is skipped, with status_out_of_memory for the call that would have got it.
 * text, length   the text
 * returns        status_ok, null_argument, status_failed (no such text), and whatever
 *                BRMX_Spam_SetCommunityServerGroup returns (*) */
BRMX_EXPORT engine_status BRMX_Engine_SetState(const brmx_char* text, uint32_t length);

/* Hands out the last record alone: what a client keeps. A part of this header, and not of the library.
 *
 * The recipe, for other languages: call BRMX_Engine_GetState twice. The second text is the first and one record, so the
 * record begins where the first text has ended. Do not search the text for it: any text can stand before the record,
 * one without a line end included, and a group can have line ends in its name.
 * text           out: as above
 * length         out: as above
 * returns        status_ok, null_argument (*) */
static inline engine_status BRMX_Engine_GetLastState(const brmx_char** text, uint32_t* length) {
    engine_status status = BRMX_Engine_GetState(text, length);
    if (status == status_ok) {
        const uint32_t before = *length;
        status = BRMX_Engine_GetState(text, length);
        if (status == status_ok && before < *length) {
            *text += before;
            *length -= before;
        }
    }
    return status;
}

/* ---- Sessions: one message each, named by a handle ---- */

/* Opens a session on one raw message, well formed or not. Blocks no other call while it parses.
 * data, length   the message and its size in bytes; copied, so the caller may free it at once
 * handle         out: names the session until BRMX_Session_Destroy; handles count up from 1
 * returns        status_ok, null_argument, engine_not_initialized, engine_shut_down, message_too_deep, status_failed (a
 *                type in the Content-Type that no decoder can read; nothing else in a message leads to it) (*) */
BRMX_EXPORT engine_status BRMX_Session_CreateFromMemory(const char* data, uint32_t length, uint32_t* handle);

/* The same on a file, which is read whole and closed again. Blocks for the file system.
 * path, path_length   the file's name; below 4 GiB. On Windows as it is; elsewhere the system gets it in UTF-8, and a
 *                name with a lone surrogate, which has no UTF-8, is one of no file
 * handle         as above
 * returns        as above, and file_not_loaded */
BRMX_EXPORT engine_status BRMX_Session_CreateFromFile(const brmx_char* path, uint32_t path_length, uint32_t* handle);

/* Ends a session and frees all that belongs to it.
 * returns        status_ok, engine_not_initialized, engine_shut_down, unknown_session, session_busy (*) */
BRMX_EXPORT engine_status BRMX_Session_Destroy(uint32_t handle);

/* Reads one line of the explanation that the last operation on the session has left behind: a scan, for one. Empty
 * before the first, and as it was after one that returned status_failed or status_out_of_memory. Also after shutdown.
 * Lines under one heading are a block, and an empty line stands between two blocks.
 * line           counts from 0; ask on until index_out_of_range
 * indent         out: 0 for a heading or an empty line, 1 for a line below a heading, more in the tree of parts
 * text           buffer, or null; the line without its indentation; empty ones are lines, too
 * text_length    in: size of the buffer, out: length of the line
 * returns        status_ok, buffer_too_small (indent unwritten), index_out_of_range, unknown_session, session_busy,
 *                null_argument (indent or text_length) (*) */
BRMX_EXPORT engine_status BRMX_Session_GetLastTrace(uint32_t handle, uint32_t line, uint32_t* indent, brmx_char* text,
                                                    uint32_t* text_length);

/* ---- Spam ---- */

/* Scans the session's message and replaces its trace. May be repeated: nothing of an earlier scan counts. With a server
 * group it blocks for the community's answer, up to timeout_ms; everything else is as fast as the processor.
 *
 * THE TRAP: with a timeout_ms of 0 a question that fits a datagram is asked once and not repeated, and no answer then
 * is community_protocol_error; one that needs a connection gets up to eight attempts of 30 s each. The update that
 * follows a good answer is always sent as if timeout_ms were 0.
 * timeout_ms     for the community's answer, in milliseconds; looked at before each attempt, and ends one by connection
 *                once that is established
 * probability    out: 0 to 100, cut to a whole number; written with status_ok and with every community status
 * returns        status_ok, unknown_session, session_busy, null_argument, community_unavailable,
 *                community_discovery_pending, community_protocol_error, community_timed_out,
 *                community_invalid_credentials (*) */
BRMX_EXPORT engine_status BRMX_Spam_GetProbability(uint32_t handle, uint32_t timeout_ms, int32_t* probability);

/* ---- Languages ---- */

/* Kept for clients that have a path to give: the word lists are part of the library.
 * path           not read
 * returns        status_ok, null_argument, engine_not_initialized, engine_shut_down (*) */
BRMX_EXPORT engine_status BRMX_Language_SetConfigurationPath(const void* path);

/* Lists the languages that can be told, ascending by LCID. In every state of the engine. The first question about
 * languages reads the word lists, which takes milliseconds and two megabytes; other threads that ask meanwhile wait.
 * index          counts from 0; ask on until index_out_of_range
 * lcid           out: the language
 * returns        status_ok, index_out_of_range, null_argument (*) */
BRMX_EXPORT engine_status BRMX_Language_GetSupportedLanguages(uint32_t index, uint32_t* lcid);

/* Tells the languages of the session's message: of its Subject and of the text that a reader would see. The first call
 * looks at the message and replaces the session's trace, later ones read the result; a message without a result is
 * looked at again by every call. Also after shutdown.
 * index          counts from 0; ask on until index_out_of_range, which may come at once
 * lcid           out: a language, ascending and not by relevance
 * relevance      out: how many letters of the message speak for it. No percentage: compare the values of one message
 * returns        status_ok, index_out_of_range, unknown_session, session_busy, null_argument (*) */
BRMX_EXPORT engine_status BRMX_Language_GetLanguageRelevance(uint32_t handle, uint32_t index, uint32_t* lcid,
                                                             uint32_t* relevance);

/* ---- Community: servers that are asked about signatures and told about messages ---- */

/* Makes a client for the servers that a host name stands for, in place of any earlier one. Waits for the calls that use
 * the community, holds new ones up, and blocks until the name has been looked up once; the servers are probed later. A
 * name that does not resolve is no failure: the group then has no servers. With a failure the earlier client stays.
 * group, length          the host name
 * rediscovery_seconds    the time between two lookups; 0 leaves them to requests that fail
 * returns        status_ok, null_argument, engine_not_initialized, engine_shut_down (*) */
BRMX_EXPORT engine_status BRMX_Spam_SetCommunityServerGroup(const brmx_char* group, uint32_t length,
                                                            uint32_t rediscovery_seconds);

/* Says who asks, for all later calls on the session. Kept nowhere else; the secret is never sent.
 * mode, id       go to the servers as they are; but mode 1 becomes 2 in a program whose file name is filter.exe
 * secret, length shared with the servers; may be empty
 * returns        status_ok, null_argument, unknown_session, session_busy (*) */
BRMX_EXPORT engine_status BRMX_Spam_SetCommunityCredentials(uint32_t handle, uint32_t mode, uint32_t id,
                                                            const brmx_char* secret, uint32_t length);

/* Counts the servers. Blocks until the first round of probes of this group has ended, up to three seconds a server.
 * rediscover     not 0: starts another round, and does not wait for it
 * reachable      out: servers that are taken to answer
 * unreachable    out: the others
 * latency_ms     out: the best time of the best server, 0 if none is known
 *                an argument that is null is passed over
 * returns        status_ok, engine_not_initialized, engine_shut_down, community_unavailable (*) */
BRMX_EXPORT engine_status BRMX_Spam_GetCommunityHealth(uint8_t rediscover, uint32_t* reachable, uint32_t* unreachable,
                                                       uint32_t* latency_ms);

/* Sends the session's whole message as spam, or takes that back. No scan is needed first. Replaces trace and
 * statistics.
 * timeout_ms     in milliseconds; looked at before each of up to eight attempts, and ends one once it is connected, also
 *                while it sends. 0 gives each attempt 30 s; allow more for a large message on a slow line
 * report_flag    0 or 1, for the servers
 * returns        status_ok, unknown_session, session_busy, community_unavailable, community_discovery_pending,
 *                community_protocol_error, community_timed_out, community_invalid_credentials (*) */
BRMX_EXPORT engine_status BRMX_Spam_CommunityReport2(uint32_t handle, uint32_t timeout_ms, uint8_t report_flag);
BRMX_EXPORT engine_status BRMX_Spam_CommunityRevoke2(uint32_t handle, uint32_t timeout_ms, uint8_t report_flag);

/* The same with timeout_ms 0 and report_flag 0. */
BRMX_EXPORT engine_status BRMX_Spam_CommunityReport(uint32_t handle);
BRMX_EXPORT engine_status BRMX_Spam_CommunityRevoke(uint32_t handle);

/* What the last scan, report or revoke of the session has cost; zeros before the first. Null arguments are passed over.
 * bytes_sent, bytes_received            packets, by either transport
 * datagrams_sent, datagrams_received    received: those that answered
 * connections_made, connections_failed  made: the whole request went out
 * latency_ms                            of the last datagram that was waited for
 * returns        status_ok, unknown_session, session_busy (*) */
BRMX_EXPORT engine_status BRMX_Spam_GetCommunityStatistics2(uint32_t handle, uint32_t* bytes_sent,
                                                            uint32_t* bytes_received, uint32_t* datagrams_sent,
                                                            uint32_t* datagrams_received, uint32_t* connections_made,
                                                            uint32_t* connections_failed, uint32_t* latency_ms);
BRMX_EXPORT engine_status BRMX_Spam_GetCommunityStatistics(uint32_t handle, uint32_t* bytes_sent,
                                                           uint32_t* bytes_received, uint32_t* datagrams_sent,
                                                           uint32_t* datagrams_received, uint32_t* latency_ms);

/* ---- Virus: a place in the interface for a scanner that this library does not contain ---- */

/* The first four look the session up and do no more. Further arguments may be given and are never read or written.
 * returns        not_implemented, unknown_session, session_busy (*) */
BRMX_EXPORT engine_status BRMX_Virus_GetInfected(uint32_t handle, ...);
BRMX_EXPORT engine_status BRMX_Virus_GetEncrypted(uint32_t handle, ...);
BRMX_EXPORT engine_status BRMX_Virus_GetCorrupted(uint32_t handle, ...);
BRMX_EXPORT engine_status BRMX_Virus_GetSuspiciousParts(uint32_t handle, ...);

/* returns        not_implemented, engine_not_initialized, engine_shut_down (*) */
BRMX_EXPORT engine_status BRMX_Virus_GetDefinitions(void);

#ifdef __cplusplus
}
#endif

#endif
