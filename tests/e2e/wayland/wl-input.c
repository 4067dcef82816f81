// A pointer (and on KWin a keyboard) for a headless compositor's seat, driven from
// standard input, one command per line:
//   move X Y        absolute position in output pixels
//   press | release the left button
//   key CODE        press and release a key (a Linux input event code; KWin only)
//   down CODE | up CODE
//   quit
// It answers "ok" after each command once the compositor has processed it, so a test
// knows the input has happened. wlroots compositors (sway) are driven through the
// virtual-pointer protocol, KWin through its fake-input protocol. The device lives as
// long as the program, because a seat offers a pointer to clients only while one exists.
#include "fake-input-client-protocol.h"
#include "wlr-virtual-pointer-unstable-v1-client-protocol.h"

#include <linux/input-event-codes.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <wayland-client.h>

static struct wl_seat* seat;
static struct zwlr_virtual_pointer_manager_v1* manager;
static struct org_kde_kwin_fake_input* fake;
static uint32_t fake_version;

static void global(void* data, struct wl_registry* registry, uint32_t name, const char* interface,
                   uint32_t version) {
    (void)data;
    if (strcmp(interface, wl_seat_interface.name) == 0 && seat == NULL) {
        seat = wl_registry_bind(registry, name, &wl_seat_interface, 1);
    } else if (strcmp(interface, zwlr_virtual_pointer_manager_v1_interface.name) == 0) {
        manager = wl_registry_bind(registry, name, &zwlr_virtual_pointer_manager_v1_interface, 1);
    } else if (strcmp(interface, org_kde_kwin_fake_input_interface.name) == 0) {
        fake_version = version < 4 ? version : 4;
        fake = wl_registry_bind(registry, name, &org_kde_kwin_fake_input_interface, fake_version);
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
        fprintf(stderr, "usage: wl-input WIDTH HEIGHT  (commands on standard input)\n");
        return 2;
    }
    const uint32_t width = (uint32_t)atoi(argv[1]);
    const uint32_t height = (uint32_t)atoi(argv[2]);
    struct wl_display* display = wl_display_connect(NULL);
    if (display == NULL) {
        fprintf(stderr, "wl-input: cannot connect to the Wayland display\n");
        return 1;
    }
    struct wl_registry* registry = wl_display_get_registry(display);
    wl_registry_add_listener(registry, &registry_listener, NULL);
    wl_display_roundtrip(display);
    struct zwlr_virtual_pointer_v1* pointer = NULL;
    if (manager != NULL) {
        pointer = zwlr_virtual_pointer_manager_v1_create_virtual_pointer(manager, seat);
    } else if (fake != NULL && fake_version >= 4) {
        org_kde_kwin_fake_input_authenticate(fake, "vantrel tests", "moves the pointer in a headless session");
    } else {
        fprintf(stderr, "wl-input: the compositor offers neither virtual pointers nor fake input (v4)\n");
        return 1;
    }
    wl_display_roundtrip(display);
    printf("ready\n");
    fflush(stdout);

    char line[128];
    while (fgets(line, sizeof line, stdin) != NULL) {
        unsigned x = 0;
        unsigned y = 0;
        unsigned code = 0;
        int ok = 1;
        if (sscanf(line, "move %u %u", &x, &y) == 2) {
            if (pointer != NULL) {
                zwlr_virtual_pointer_v1_motion_absolute(pointer, now_ms(), x, y, width, height);
            } else {
                org_kde_kwin_fake_input_pointer_motion_absolute(fake, wl_fixed_from_int((int)x),
                                                                wl_fixed_from_int((int)y));
            }
        } else if (strncmp(line, "press", 5) == 0 || strncmp(line, "release", 7) == 0) {
            const uint32_t state = line[0] == 'p' ? WL_POINTER_BUTTON_STATE_PRESSED : WL_POINTER_BUTTON_STATE_RELEASED;
            if (pointer != NULL) {
                zwlr_virtual_pointer_v1_button(pointer, now_ms(), BTN_LEFT, state);
            } else {
                org_kde_kwin_fake_input_button(fake, BTN_LEFT, state);
            }
        } else if (fake != NULL && sscanf(line, "key %u", &code) == 1) {
            org_kde_kwin_fake_input_keyboard_key(fake, code, WL_KEYBOARD_KEY_STATE_PRESSED);
            org_kde_kwin_fake_input_keyboard_key(fake, code, WL_KEYBOARD_KEY_STATE_RELEASED);
        } else if (fake != NULL && sscanf(line, "down %u", &code) == 1) {
            org_kde_kwin_fake_input_keyboard_key(fake, code, WL_KEYBOARD_KEY_STATE_PRESSED);
        } else if (fake != NULL && sscanf(line, "up %u", &code) == 1) {
            org_kde_kwin_fake_input_keyboard_key(fake, code, WL_KEYBOARD_KEY_STATE_RELEASED);
        } else if (strncmp(line, "quit", 4) == 0) {
            break;
        } else {
            ok = 0;
        }
        if (!ok) {
            printf("error: unknown command\n");
            fflush(stdout);
            continue;
        }
        if (pointer != NULL) {
            zwlr_virtual_pointer_v1_frame(pointer);
        }
        wl_display_roundtrip(display);
        printf("ok\n");
        fflush(stdout);
    }
    if (pointer != NULL) {
        zwlr_virtual_pointer_v1_destroy(pointer);
    }
    wl_display_roundtrip(display);
    wl_display_disconnect(display);
    return 0;
}
