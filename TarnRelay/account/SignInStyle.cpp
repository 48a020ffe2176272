#include "SignInStyle.h"

#include <openssl/sha.h>

#include <array>
#include <span>

#include "TarnPlatform/net/Base64.h"

namespace tarn::relay {
namespace {

// In either colour scheme, text has a contrast of at least 4.5 with its background, and borders of at least 3
// (WCAG 2.1, 1.4.3 and 1.4.11).
constexpr std::string_view style = R"(
:root{color-scheme:light dark;--page:#e9f0f3;--card:#fff;--text:#14232b;--soft:#4b5d68;--line:#73848e;
--accent:#0b6674;--on-accent:#fff;--accent-hover:#084e59;--error:#b3261e;--error-page:#fdeceb;--hair:#d5dfe4}
@media(prefers-color-scheme:dark){:root{--page:#0d171c;--card:#16242c;--text:#e9f1f4;--soft:#a9bbc4;--line:#7b8e99;
--accent:#63cbd9;--on-accent:#05262b;--accent-hover:#8adbe6;--error:#ffb4ab;--error-page:#3b1f1e;--hair:#2b3c46}}
*{box-sizing:border-box}
html{-webkit-text-size-adjust:100%}
body{margin:0;min-height:100vh;display:flex;padding:1.5rem 1rem;background:var(--page);color:var(--text);
font:1rem/1.5 system-ui,-apple-system,"Segoe UI",Roboto,"Noto Sans","Noto Sans CJK SC","Microsoft YaHei",sans-serif}
main{width:100%;max-width:26rem;margin:auto;padding:2.25rem 2rem 2rem;background:var(--card);border-radius:1rem;
border:1px solid var(--hair);box-shadow:0 1px 2px rgba(10,30,40,.06),0 12px 32px rgba(10,30,40,.08)}
.mark{display:block;width:3rem;height:3rem;margin:0 0 1.25rem -.25rem;color:var(--accent)}
h1{margin:0 0 .5rem;font-size:1.5rem;line-height:1.25;font-weight:650;letter-spacing:-.01em;text-wrap:balance}
p{margin:0}
ul{margin:.25rem 0 1.5rem;padding:0;list-style:none}
li{position:relative;padding-left:1.6rem;margin-top:.35rem}
li::before{content:"";position:absolute;left:.3rem;top:.35em;width:.4rem;height:.7rem;
border:solid var(--accent);border-width:0 2px 2px 0;transform:rotate(45deg)}
.lead{margin-bottom:1.25rem;color:var(--soft)}
.say{font-weight:600}
label{display:block;margin-bottom:.35rem;font-weight:600}
input{display:block;width:100%;padding:.65rem .75rem;font:inherit;color:inherit;background:var(--card);
border:1px solid var(--line);border-radius:.5rem}
input[aria-invalid=true]{border:2px solid var(--error);padding:calc(.65rem - 1px) calc(.75rem - 1px)}
.hint{margin-top:.4rem;font-size:.875rem;color:var(--soft)}
.error{margin-top:.65rem;font-size:.9375rem;font-weight:600;color:var(--error)}
.alert{margin-bottom:1.25rem;padding:.75rem .875rem;border:1px solid var(--error);border-radius:.5rem;
background:var(--error-page);color:var(--error);font-weight:600}
.actions{display:grid;gap:.75rem;margin-top:1.5rem}
button,.button{display:block;width:100%;padding:.7rem 1rem;font:inherit;font-weight:600;line-height:1.5;
text-align:center;text-decoration:none;cursor:pointer;border-radius:.5rem;border:1px solid var(--line);
background:transparent;color:var(--text)}
button:hover,.button:hover{border-color:var(--text)}
.primary{background:var(--accent);border-color:var(--accent);color:var(--on-accent)}
.primary:hover{background:var(--accent-hover);border-color:var(--accent-hover)}
input:focus,button:focus,.button:focus{outline:3px solid var(--accent);outline-offset:2px}
.foot{margin-top:1.5rem;padding-top:1rem;border-top:1px solid var(--hair);font-size:.875rem;color:var(--soft)}
.name{display:block;color:var(--text);font-weight:600;overflow-wrap:anywhere}
dl{margin:1.25rem 0 0}
dt{margin-top:1rem;font-size:.875rem;color:var(--soft)}
dd{margin:.35rem 0 0}
code{display:block;padding:.6rem;border-radius:.5rem;background:var(--page);overflow-wrap:anywhere;
font:.8125rem/1.5 ui-monospace,"DejaVu Sans Mono",monospace}
@media(max-width:26rem){body{padding:.75rem}main{padding:1.5rem 1.125rem}}
)";

}  // namespace

std::string_view signInStyle() {
    return style;
}

const std::string& signInStyleSource() {
    static const std::string source = [] {
        std::array<unsigned char, 32> hash{};
        ::SHA256(reinterpret_cast<const unsigned char*>(style.data()), style.size(), hash.data());
        return "'sha256-" + base64Encode(std::as_bytes(std::span(hash))) + "'";
    }();
    return source;
}

}  // namespace tarn::relay
