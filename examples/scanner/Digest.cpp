#include "examples/scanner/Digest.h"

#include <openssl/evp.h>

#include <stdexcept>

namespace scanner {
namespace {

void Require(bool done) {
    if (!done) throw std::runtime_error("OpenSSL cannot compute the message digest");
}

}  // namespace

void Digest::FreeKind::operator()(evp_md_st* kind) const {
    ::EVP_MD_free(kind);
}

void Digest::FreeContext::operator()(evp_md_ctx_st* context) const {
    ::EVP_MD_CTX_free(context);
}

// The context asks for no FIPS-approved provider: MD5 names contents here, it protects nothing.
Digest::Digest(Kind kind)
    : kind_(::EVP_MD_fetch(nullptr, kind == Kind::kMd5 ? "MD5" : "SHA256", "-fips")), context_(::EVP_MD_CTX_new()) {
    Require(kind_ != nullptr && context_ != nullptr);
}

Digest::~Digest() = default;

std::string Digest::Of(std::string_view message) {
    Begin();
    Add(message);
    return End();
}

void Digest::Begin() {
    Require(::EVP_DigestInit_ex2(context_.get(), kind_.get(), nullptr) == 1);
}

void Digest::Add(std::string_view bytes) {
    Require(::EVP_DigestUpdate(context_.get(), bytes.data(), bytes.size()) == 1);
}

std::string Digest::End() {
    static constexpr char kDigits[] = "0123456789abcdef";
    unsigned char bytes[kMostBytes];
    unsigned length = 0;
    Require(::EVP_DigestFinal_ex(context_.get(), bytes, &length) == 1);
    std::string hex;
    hex.reserve(2 * std::size_t{length});
    for (unsigned i = 0; i < length; ++i) {
        hex += kDigits[bytes[i] >> 4];
        hex += kDigits[bytes[i] & 15];
    }
    return hex;
}

}  // namespace scanner
