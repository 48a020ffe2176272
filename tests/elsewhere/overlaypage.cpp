#include <boost/json/parse.hpp>
#include <iostream>
#include <string>
#include <vector>

#include "TarnApp/elsewhere/SubtitlePage.h"

namespace {

std::string textOf(const boost::json::value& source, const char* name) {
    return std::string(source.as_object().at(name).as_string());
}

}  // namespace

int main() {
    const auto page = tarn::SubtitlePage::open(tarn::NetworkContext::shared(), 0, "0123456789abcdef");
    if (!page) {
        std::cerr << page.error().description << '\n';
        return 1;
    }
    std::cout << (*page)->address() << std::endl;
    for (std::string line; std::getline(std::cin, line);) {
        std::vector<tarn::ShownSubtitle> sources;
        const boost::json::value shown = boost::json::parse(line);
        for (const auto& source : shown.as_array()) {
            sources.push_back(
                {textOf(source, "name"), textOf(source, "original"), textOf(source, "translation")});
        }
        (*page)->show(sources);
    }
    return 0;
}
