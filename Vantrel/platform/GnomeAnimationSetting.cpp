#include "Vantrel/platform/GnomeAnimationSetting.h"

#include <gio/gio.h>

namespace vantrel::platform {

namespace {

constexpr const char* schemaId = "org.gnome.desktop.interface";
constexpr const char* key = "enable-animations";

} // namespace

GnomeAnimationSetting::GnomeAnimationSetting(std::function<void()> changed) : m_changed(std::move(changed)) {
    // g_settings_new() aborts on a missing schema, so look it up first.
    GSettingsSchemaSource* source = g_settings_schema_source_get_default();
    if (source == nullptr) {
        return;
    }
    GSettingsSchema* schema = g_settings_schema_source_lookup(source, schemaId, TRUE);
    if (schema == nullptr) {
        return;
    }
    if (g_settings_schema_has_key(schema, key)) {
        GSettings* settings = g_settings_new_full(schema, nullptr, nullptr);
        m_settings = settings;
        m_handler = g_signal_connect(settings, "changed::enable-animations",
                                     G_CALLBACK(&GnomeAnimationSetting::onChanged), this);
        // GSettings sends change notices only for keys that have been read once.
        g_settings_get_boolean(settings, key);
    }
    g_settings_schema_unref(schema);
}

GnomeAnimationSetting::~GnomeAnimationSetting() {
    if (m_settings != nullptr) {
        g_signal_handler_disconnect(m_settings, m_handler);
        g_object_unref(m_settings);
    }
}

bool GnomeAnimationSetting::animationsDisabled() const {
    return m_settings != nullptr && g_settings_get_boolean(static_cast<GSettings*>(m_settings), key) == FALSE;
}

void GnomeAnimationSetting::onChanged(void*, const char*, void* self) {
    auto* setting = static_cast<GnomeAnimationSetting*>(self);
    if (setting->m_changed) {
        setting->m_changed();
    }
}

} // namespace vantrel::platform
