#pragma once

#include <gio/gio.h>

#include <memory>

namespace torvo {

/// Owners of what GLib hands out.
struct GLibRelease {
    void operator()(GVariant* value) const { g_variant_unref(value); }
    void operator()(GError* error) const { g_error_free(error); }
    void operator()(GDBusNodeInfo* info) const { g_dbus_node_info_unref(info); }
    void operator()(GMainContext* context) const { g_main_context_unref(context); }
    void operator()(GMainLoop* loop) const { g_main_loop_unref(loop); }
    void operator()(GSource* source) const { g_source_unref(source); }
    void operator()(GKeyFile* file) const { g_key_file_unref(file); }
    void operator()(char* text) const { g_free(text); }
    template <typename Object>
    void operator()(Object* object) const {
        g_object_unref(object);
    }
};
template <typename Object>
using GLibPointer = std::unique_ptr<Object, GLibRelease>;

} // namespace torvo
