#include "host/base/LocateMgr.h"

#include <pwd.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <new>

#include "host/base/HAutoMutex.h"
#include "host/base/NeverDestroyed.h"
#include "host/base/NoThrow.h"

namespace {

constexpr char const* kSystemRoot = "/var/lib/torvane";

bool IsAbsolute(char const* path) noexcept {
    return path != nullptr && path[0] == '/';
}

// The home directory as the environment gives it, else as the account database does; null when neither knows.
char const* Home(char (&buffer)[4096], passwd& entry) noexcept {
    char const* const home = ::secure_getenv("HOME");
    if (IsAbsolute(home)) return home;
    passwd* found = nullptr;
    bool const known = ::getpwuid_r(::geteuid(), &entry, buffer, sizeof buffer, &found) == 0 && found != nullptr;
    return known && IsAbsolute(found->pw_dir) ? found->pw_dir : nullptr;
}

HString DefaultRoot() {
    if (char const* const root = ::secure_getenv("TORVANE_ROOT"); IsAbsolute(root)) return HString(root);
    if (::geteuid() == 0) return HString(kSystemRoot);
    if (char const* const state = ::secure_getenv("XDG_STATE_HOME"); IsAbsolute(state)) {
        return HString(state) << "/torvane";
    }
    char buffer[4096];
    passwd entry{};
    if (char const* const home = Home(buffer, entry); home != nullptr) return HString(home) << "/.local/state/torvane";
    return HString(kSystemRoot);
}

HString Absolute(HString const& path) {
    if (path.empty() || path[0] == u'/') return path;
    char directory[PATH_MAX];
    if (::getcwd(directory, sizeof directory) == nullptr) return path;
    return HString(directory).dir_fit(true) << path;
}

}  // namespace

namespace Varnok {

LocateMgr* LocateMgr::pins() noexcept {
    static NeverDestroyed<LocateMgr> const instance([](void* place) { return new (place) LocateMgr; });
    return instance.get();
}

void LocateMgr::set_root(HString const& path) noexcept {
    HString root;
    bool const taken = NoThrow(false, [&] { return root = Absolute(path).dir_fit(false), true; });
    HAutoMutex const lock(mutex_);
    root_ = std::move(root);
    lost_ = !taken;
    generation_.fetch_add(1, std::memory_order_acq_rel);
}

HString LocateMgr::get_root(bool with_separator) const noexcept {
    return NoThrow(HString(), [this, with_separator] {
        HAutoMutex const lock(mutex_);
        if (lost_) return HString();
        if (root_.empty()) root_ = DefaultRoot().dir_fit(false);
        return HString(root_).dir_fit(with_separator);
    });
}

HString LocateMgr::Below(char const* name, bool with_separator) const noexcept {
    return NoThrow(HString(), [this, name, with_separator] {
        HString path = get_root(true);
        return path.empty() ? path : (path << name).dir_fit(with_separator);
    });
}

HString LocateMgr::get_ini_path(bool with_separator) const noexcept {
    return Below("ini", with_separator);
}

HString LocateMgr::get_log_path(bool with_separator) const noexcept {
    return Below("log", with_separator);
}

}  // namespace Varnok
