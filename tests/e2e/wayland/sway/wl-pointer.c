// A pointer for a headless wlroots seat, driven from standard input, one command per line:
//   move X Y        absolute position in output pixels
//   press | release the left button
//   quit
// It answers "ok" after each command once the compositor has processed it, so a test knows
// the motion has happened. The device lives as long as the program, because the seat offers
// a pointer to clients only while some pointer device exists.
#include "wlr-virtual-pointer-unstable-v1-client-protocol.h"

#include <linux/input-event-codes.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <wayland-client.h>

static struct wl_seat* seat;
static struct zwlr_virtual_pointer_manager_v1* manager;

static void global(void* data, struct wl_registry* registry, uint32_t name, const char* interface,
                   uint32_t version) {
    (void)data;
    (void)version;
    if (strcmp(interface, wl_seat_interface.name) == 0 && seat == NULL) {
        seat = wl_registry_bind(registry, name, &wl_seat_interface, 1);
    } else if (strcmp(interface, zwlr_virtual_pointer_manager_v1_interface.name) == 0) {
        manager = wl_registry_bind(registry, name, &zwlr_virtual_pointer_manager_v1_interface, 1);
    }
}

static void global_remove(void* data, struct wl_registry* registry, uint32_t name) {
    (void)data;
    (void)registry;
    (void)name;
}

static const struct wl_registry_listener registry_listener = {global, global_remove};

static uint32_t now_ms(void) {
    struct timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return (uint32_t)(ts.tv_sec * 1000 + ts.tv_nsec / 1000000);
}

int main(int argc, char** argv) {
    if (argc != 3) {
        fprintf(stderr, "usage: wl-pointer WIDTH HEIGHT  (commands on standard input)\n");
        return 2;
    }
    const uint32_t width = (uint32_t)atoi(argv[1]);
    const uint32_t height = (uint32_t)atoi(argv[2]);
    struct wl_display* display = wl_display_connect(NULL);
    if (display == NULL) {
        fprintf(stderr, "wl-pointer: cannot connect to the Wayland display\n");
        return 1;
    }
    struct wl_registry* registry = wl_display_get_registry(display);
    wl_registry_add_listener(registry, &registry_listener, NULL);
    wl_display_roundtrip(display);
    if (manager == NULL) {
        fprintf(stderr, "wl-pointer: the compositor offers no virtual pointers\n");
        return 1;
    }
    struct zwlr_virtual_pointer_v1* pointer =
        zwlr_virtual_pointer_manager_v1_create_virtual_pointer(manager, seat);
    wl_display_roundtrip(display);
    printf("ready\n");
    fflush(stdout);

    char line[128];
    while (fgets(line, sizeof line, stdin) != NULL) {
        unsigned x = 0;
        unsigned y = 0;
        if (sscanf(line, "move %u %u", &x, &y) == 2) {
            zwlr_virtual_pointer_v1_motion_absolute(pointer, now_ms(), x, y, width, height);
        } else if (strncmp(line, "press", 5) == 0) {
            zwlr_virtual_pointer_v1_button(pointer, now_ms(), BTN_LEFT, WL_POINTER_BUTTON_STATE_PRESSED);
        } else if (strncmp(line, "release", 7) == 0) {
            zwlr_virtual_pointer_v1_button(pointer, now_ms(), BTN_LEFT, WL_POINTER_BUTTON_STATE_RELEASED);
        } else if (strncmp(line, "quit", 4) == 0) {
            break;
        } else {
            printf("error: unknown command\n");
            fflush(stdout);
            continue;
        }
        zwlr_virtual_pointer_v1_frame(pointer);
        wl_display_roundtrip(display);
        printf("ok\n");
        fflush(stdout);
    }
    zwlr_virtual_pointer_v1_destroy(pointer);
    wl_display_roundtrip(display);
    wl_display_disconnect(display);
    return 0;
}
