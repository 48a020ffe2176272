#include <algorithm>

#include "SubtitlePage.h"

namespace tarn {
namespace {

// OBS adds a user's own style behind this one, so that it can set the variables. Texts are only ever put in
// as text.
constexpr std::string_view page = R"html(<!doctype html>
<html lang="en">
<head>
<meta charset="utf-8">
<title>Tarn</title>
<style nonce="NONCE">
:root {
  --tarn-font: "Noto Sans", "Noto Sans CJK SC", system-ui, sans-serif;
  --tarn-size: 36px;
  --tarn-original-size: 26px;
  --tarn-weight: 600;
  --tarn-color: #ffffff;
  --tarn-original-color: #d5dbe6;
  --tarn-outline: 2px;
  --tarn-outline-color: #000000;
  --tarn-background: transparent;
  --tarn-align: center;
  --tarn-names: none;
}
html, body { margin: 0; height: 100%; background: transparent; overflow: hidden; }
body { display: flex; flex-direction: column; justify-content: flex-end; font-family: var(--tarn-font); }
.source { margin: 0.4em 1em; padding: 0.2em 0.5em; text-align: var(--tarn-align); background: var(--tarn-background);
  border-radius: 0.3em; overflow-wrap: anywhere; line-height: 1.3; }
.source.empty { visibility: hidden; }
.text { unicode-bidi: plaintext; paint-order: stroke fill; -webkit-text-stroke: calc(2 * var(--tarn-outline)) var(--tarn-outline-color);
  display: -webkit-box; -webkit-box-orient: vertical; -webkit-line-clamp: 3; overflow: hidden; }
.name { display: var(--tarn-names); font-size: calc(0.6 * var(--tarn-size)); color: var(--tarn-original-color); }
.original { font-size: var(--tarn-original-size); color: var(--tarn-original-color); }
.translation { font-size: var(--tarn-size); font-weight: var(--tarn-weight); color: var(--tarn-color); }
</style>
</head>
<body>
<script nonce="NONCE">
"use strict"
const asked = new URLSearchParams(location.search)
const only = Number.parseInt(asked.get("source"), 10)
const kinds = {original: ["original"], translation: ["translation"]}[asked.get("show")] || ["original", "translation"]

function element(parent, kind) {
    let found = parent.querySelector("." + kind)
    if (!found) {
        found = document.createElement("div")
        found.className = kind === "name" ? kind : "text " + kind
        parent.append(found)
    }
    return found
}
// The newest words are those that count: a text with more than three lines loses its beginning.
function put(line, text) {
    line.textContent = text
    for (let rest = text; line.scrollHeight > line.clientHeight + 1 && rest.length > 1;) {
        rest = rest.slice(Math.max(1, Math.floor(rest.length / 8)))
        const space = rest.indexOf(" ")
        rest = space >= 0 && space < 20 ? rest.slice(space + 1) : rest
        line.textContent = "… " + rest
    }
}
function show(sources) {
    const lines = [...document.querySelectorAll(".source")]
    for (const line of lines.slice(sources.length))
        line.remove()
    sources.forEach((source, index) => {
        let line = lines[index]
        if (!line) {
            line = document.createElement("div")
            line.className = "source"
            document.body.append(line)
        }
        line.hidden = only >= 1 && index !== only - 1
        line.classList.toggle("empty", kinds.every(kind => source[kind] === ""))
        element(line, "name").textContent = source.name
        for (const kind of kinds)
            put(element(line, kind), source[kind])
    })
}
const events = new EventSource("/overlay/events?key=" + encodeURIComponent(asked.get("key")))
events.onmessage = event => show(JSON.parse(event.data))
events.onerror = () => show([])     // it tries again by itself
</script>
</body>
</html>
)html";

}  // namespace

std::string subtitlePageText(std::string_view nonce) {
    constexpr std::string_view mark = "NONCE";
    std::string text(page);
    for (auto at = text.find(mark); at != std::string::npos; at = text.find(mark, at + nonce.size())) {
        text.replace(at, mark.size(), nonce);
    }
    return text;
}

}  // namespace tarn
