/* The public header has to serve a client in C11: this is one. */
#include "include/brmx.h"

#include <string.h>

/* 0, or the number of the step that went wrong. */
int c_client_scan(void);

int c_client_scan(void) {
    static const char message[] = "Message-ID: <1@a.example>\r\nContent-Type: text/plain\r\n\r\nHello\r\n";
    brmx_char line[32];
    uint32_t handle = 0;
    uint32_t indent = 0;
    uint32_t length = 32;
    int32_t probability = -1;
    engine_status status = BRMX_Engine_Initialize();
    if (status != status_ok && status != engine_already_initialized) return 1;
    if (BRMX_Session_CreateFromMemory(message, (uint32_t)strlen(message), &handle) != status_ok) return 2;
    if (BRMX_Spam_GetProbability(handle, 0, &probability) != community_unavailable) return 3;
    if (BRMX_Session_GetLastTrace(handle, 0, &indent, line, &length) != status_ok) return 4;
    if (length != 14 || line[0] != 'M') return 5;
    if (BRMX_Virus_GetInfected(handle, "never read") != not_implemented) return 6;
    if (BRMX_Session_Destroy(handle) != status_ok) return 7;
    return probability == 50 ? 0 : 8; /* three fields are missing, and the text is short */
}
