#pragma once

#include <array>

namespace Varnok {

// The built-in text of a key. "%s" stands for a text, "%d" for a number.
struct LanguageText {
    char const* key;
    char const* text;
};

// In English. A file size is followed by its unit where the text is used.
inline constexpr std::array<LanguageText, 29> kLanguageTexts{{
    {"DLP_LAN_RULE_REG", "Regular expression matches: %d"},
    {"DLP_LAN_RULE_NAME", "Personal names: %d"},
    {"DLP_LAN_RULE_ADDR", "Postal addresses: %d"},
    {"DLP_LAN_RULE_PHONE", "Phone numbers: %d"},
    {"DLP_LAN_RULE_EMAIL_ADDR", "E-mail addresses: %d"},
    {"DLP_LAN_RULE_ID_CARD", "Identity card numbers: %d"},
    {"DLP_LAN_RULE_BANK_CARD", "Bank card numbers: %d"},
    {"DLP_LAN_RULE_EXPRESS_NUM", "Parcel numbers: %d"},
    {"DLP_LAN_RULE_PDS", "Personal data items: %d"},
    {"DLP_LAN_RULE_SOCIAL_SECURITY", "Social security numbers: %d"},
    {"DLP_LAN_SENSITIVE_YES", "yes"},
    {"DLP_LAN_SENSITIVE_NO", "no"},
    {"DLP_LAN_RULE_FILE_NAME", "File name: %s"},
    {"DLP_LAN_RULE_FILE_TYPE", "File type: %s"},
    {"DLP_LAN_RULE_FILE_ENCRYPT", "File encrypted: %s"},
    {"DLP_LAN_RULE_FILE_MD5", "File MD5: %s"},
    {"DLP_LAN_RULE_FILE_DNA", "File fingerprint: %s"},
    {"DLP_LAN_RULE_FILE_SIZE", "File size: %s"},
    {"DLP_LAN_RULE_FILE_CDATE", "File created: %s"},
    {"DLP_LAN_RULE_FILE_MDATE", "File modified: %s"},
    {"DLP_LAN_RULE_FILE_UNRECOG", "File not recognised: %s"},
    {"DLP_LAN_RULE_FILE_CODE", "File code: %s"},
    {"DLP_LAN_RULE_FILE_VOLUME_PAGE", "Pages: %s"},
    {"DLP_LAN_RULE_FILE_VOLUME_LINE", "Lines: %s"},
    {"DLP_LAN_RULE_FILE_VOLUME_WORD", "Words: %s"},
    {"DLP_LAN_RULE_FILE_VOLUME_IMAGE", "Images: %s"},
    {"DLP_LAN_RULE_FILE_VOLUME_EMBED", "Embedded objects: %s"},
    {"DLP_LAN_RULE_FILE_CLASS", "File class: %s"},
    {"DLP_LAN_RULE_SAFEDOC", "Protected document: %s"},
}};

}  // namespace Varnok
