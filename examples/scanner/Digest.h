#pragma once

#include <array>
#include <memory>
#include <string>
#include <string_view>

struct evp_md_ctx_st;
struct evp_md_st;

namespace scanner {

// A message digest by OpenSSL, one object for any number of messages. One thread; failures throw std::runtime_error.
class Digest {
  public:
    enum class Kind { kMd5, kSha256 };
    static constexpr std::size_t kMostBytes = 32;

    explicit Digest(Kind kind);
    ~Digest();

    // The digest of one message in lower-case hexadecimal digits.
    [[nodiscard]] std::string Of(std::string_view message);

    // The same in pieces.
    void Begin();
    void Add(std::string_view bytes);
    [[nodiscard]] std::string End();

  private:
    struct FreeKind {
        void operator()(evp_md_st* kind) const;
    };
    struct FreeContext {
        void operator()(evp_md_ctx_st* context) const;
    };

    std::unique_ptr<evp_md_st, FreeKind> kind_;
    std::unique_ptr<evp_md_ctx_st, FreeContext> context_;
};

}  // namespace scanner
