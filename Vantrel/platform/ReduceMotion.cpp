#include "Vantrel/platform/ReduceMotion.h"

#include <gio/gio.h>

namespace vantrel::platform {

bool gnomeAnimationsDisabled() {
    // g_settings_new() aborts on a missing schema, so look it up first.
    GSettingsSchemaSource* source = g_settings_schema_source_get_default();
    if (source == nullptr) {
        return false;
    }
    GSettingsSchema* schema = g_settings_schema_source_lookup(source, "org.gnome.desktop.interface", TRUE);
    if (schema == nullptr) {
        return false;
    }
    bool disabled = false;
    if (g_settings_schema_has_key(schema, "enable-animations")) {
        GSettings* settings = g_settings_new_full(schema, nullptr, nullptr);
        disabled = g_settings_get_boolean(settings, "enable-animations") == FALSE;
        g_object_unref(settings);
    }
    g_settings_schema_unref(schema);
    return disabled;
}

} // namespace vantrel::platform
