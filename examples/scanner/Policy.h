#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "examples/scanner/Rule.h"
#include "host/base/HString.h"
#include "host/policy/KwDefinitions.h"

namespace scanner {

// A template made ready to run. A rule's index counts within the template.
struct Template {
    HString id;
    HString md5;  // of the definition that the rules were compiled from
    std::string name;
    std::vector<Rule> rules;
    bool needs_text = false;
};

// The templates in force, in their order in the templates file. Unchanged once installed; then any thread may read.
class Policy {
  public:
    // Compiles the definitions. Throws std::runtime_error when a rule is wrong.
    explicit Policy(KwDefinitions const& definitions);

    // Puts the same definitions in force in this process and saves them in the root's config directory for other
    // programs. Throws std::runtime_error when that cannot be written; nothing was changed when something that is no
    // file stands in the place of one.
    void Install(KwDefinitions const& definitions);

    [[nodiscard]] std::vector<Template> const& templates() const { return templates_; }
    [[nodiscard]] std::vector<HString> const& ids() const { return ids_; }

    // Whether the definition in force is still the one that the template's rules were compiled from.
    [[nodiscard]] static bool IsCurrent(Template const& tpl);

    // Makes every template's cache ready, so that the first file does not pay for it.
    void OpenCaches() const;

  private:
    std::vector<Template> templates_;
    std::vector<HString> ids_;
};

}  // namespace scanner
