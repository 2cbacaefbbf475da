#include "examples/scanner/Root.h"

#include <cstring>
#include <filesystem>
#include <new>
#include <stdexcept>

#include "host/base/HFile.h"
#include "host/base/LocateMgr.h"
#include "host/policy/KwDefineMgr.h"
#include "host/policy/KwLocateMgr.h"
#include "host/policy/QVKConfigKeywordTemplateVTMgr.h"
#include "storage/DLPCacheLog.h"

namespace scanner {
namespace {

std::string PutInForce(Options const& options, Root::Use use) {
    if (!options.root.empty()) KwLocateMgr::pins()->set_root(HString(std::filesystem::absolute(options.root).string()));
    std::string const path = Varnok::LocateMgr::pins()->get_root(false).get_str();
    bool const is_new = !HFile::IsFileExistFile(QVKConfigKeywordTemplateVTMgr::pins()->get_arc_file());
    if (use == Root::Use::kOfEarlierScans && is_new) {
        throw std::runtime_error("nothing was scanned below " + path + " yet");
    }
    return path;
}

void TurnLogOn() {
    HFileLog* const log = DLPCacheLog::pins();
    if (log == nullptr) throw std::bad_alloc();
    log->set_check_mark_file(false);
}

void LoadDefinitions() {
    KwDefineMgr* const definitions = KwDefineMgr::pins();
    if (definitions == nullptr) throw std::bad_alloc();
    if (int const error = definitions->load()) {
        throw std::runtime_error("cannot read the definitions in " + definitions->get_config_path().get_str() + ": " +
                                 std::strerror(error));
    }
}

}  // namespace

Root::Root(Options const& options, Use use) : path_(PutInForce(options, use)), lock_(path_) {
    if (options.log) TurnLogOn();
    if (use == Use::kOfEarlierScans) LoadDefinitions();
}

}  // namespace scanner
