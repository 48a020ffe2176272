#pragma once

#include <gio/gio.h>

#include <functional>
#include <memory>
#include <string>

#include "TarnPlatform/base/Destroy.h"

namespace tarn {

/// A reference of one's own to an object of GLib.
template <typename T>
using Owned = std::unique_ptr<T, Destroy<g_object_unref>>;

using Variant = std::unique_ptr<GVariant, Destroy<g_variant_unref>>;

using Text = std::unique_ptr<char, Destroy<g_free>>;

/// Has `work` called by the thread that runs `context`, after what was asked for before. Thread: any.
void callOn(GMainContext* context, std::function<void()> work);

/// Where a call of GLib leaves why it failed.
class GlibFailure {
public:
    GlibFailure() = default;
    ~GlibFailure() { g_clear_error(&error_); }
    GlibFailure(const GlibFailure&) = delete;
    GlibFailure& operator=(const GlibFailure&) = delete;

    GError** out() {
        g_clear_error(&error_);
        return &error_;
    }
    explicit operator bool() const { return error_ != nullptr; }
    bool is(GQuark domain, int code) const { return g_error_matches(error_, domain, code) != FALSE; }
    std::string text() const { return error_ == nullptr ? "no reason given" : error_->message; }

private:
    GError* error_ = nullptr;
};

/// A main context that is the thread's default as long as this object: what is asked for meanwhile is
/// answered there, whether or not somebody runs the process's own context. Thread: on the stack of one.
class OwnMainContext {
public:
    OwnMainContext() : context_(g_main_context_new()) { g_main_context_push_thread_default(context_); }
    ~OwnMainContext() {
        // GLib releases what was subscribed through work that it posts here.
        while (g_main_context_iteration(context_, FALSE) != FALSE) {
        }
        g_main_context_pop_thread_default(context_);
        g_main_context_unref(context_);
    }
    OwnMainContext(const OwnMainContext&) = delete;
    OwnMainContext& operator=(const OwnMainContext&) = delete;

private:
    GMainContext* const context_;
};

}  // namespace tarn
