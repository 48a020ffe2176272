#include <algorithm>
#include <cctype>
#include <string>

#include "Checks.h"
#include "TarnApp/localization/AddedText.h"
#include "TarnPlatform/audioserver/AudioServer.h"
#include "TarnPlatform/audioserver/AudioServerError.h"
#include "TarnPlatform/audioserver/AudioServerFacts.h"
#include "TarnPlatform/capture/ShareableContent.h"

namespace tarn {
namespace {

using enum CheckStatus;

std::string shownName(const GraphNode& node) {
    const auto& description = property(node.properties, "node.description");
    return description.empty() ? property(node.properties, "node.name") : description;
}

CheckResult serverFault(const Error& error, const Wording& say) {
    CheckResult result{.name = CheckName::audioServer, .status = fault, .detail = error.description};
    AddedText start = AddedText::startAudioServer;
    if (error.domain == audioServerDomain) {
        const bool isSilent = error.code == static_cast<int>(AudioServerFault::silent);
        result.detail = say(isSilent ? AddedText::audioServerSilent : AddedText::audioServerAbsent);
        // The text follows other words in its line, so it begins with a small letter.
        result.detail.front() =
            static_cast<char>(std::tolower(static_cast<unsigned char>(result.detail.front())));
        start = isSilent ? AddedText::restartAudioServer : start;
    }
    result.advice = say(DoctorText::audioServerAdvice, {say(start)});
    return result;
}

void reportNothingKnown(const Wording& say, const Report& report) {
    for (const auto* const name : {CheckName::sessionManager, CheckName::defaultOutput,
                                   CheckName::defaultInput, CheckName::capture, CheckName::microphones}) {
        report({.name = name, .status = warning, .detail = say(DoctorText::notKnownWithoutAudio)});
    }
}

void reportManager(const AudioServerFacts& facts, const Wording& say, const Report& report) {
    std::string managers;
    for (const auto& name : facts.managers) {
        managers += (managers.empty() ? "" : ", ") + name;
    }
    CheckResult result{.name = CheckName::sessionManager, .detail = managers};
    if (managers.empty() && facts.hasDefaults) {
        result.detail = say(DoctorText::sessionManagerOther);
    } else if (!facts.hasDefaults) {
        result.status = fault;
        result.detail = managers.empty() ? say(DoctorText::sessionManagerAbsent)
                                         : say(DoctorText::sessionManagerNoDefaults, {managers});
        result.advice = say(DoctorText::sessionManagerAdvice);
    }
    report(std::move(result));
}

void reportCapture(const Graph& graph, const GraphNode* output, const Wording& say, const Report& report) {
    CheckResult result{.name = CheckName::capture, .status = fault, .advice = say(DoctorText::captureAdvice)};
    if (output == nullptr) {
        result.detail = say(DoctorText::captureNoOutput);
        result.advice = say(DoctorText::outputAdvice);
        report(std::move(result));
        return;
    }
    const auto name = shownName(*output);
    const bool hasMonitor = std::ranges::any_of(graph.ports, [output](const auto& entry) {
        return entry.second.node == output->id && entry.second.output && entry.second.monitor;
    });
    if (hasMonitor) {
        const auto programs = std::to_string(shareableContent(graph).applications.size());
        result = {.name = CheckName::capture, .detail = say(DoctorText::captureWorks, {name, programs})};
    } else {
        result.detail = say(DoctorText::captureNoMonitor, {name});
    }
    report(std::move(result));
}

void reportMicrophones(const Graph& graph, const Wording& say, const Report& report) {
    std::string names;
    for (const auto& [id, node] : graph.nodes) {
        if (node.isSource()) {
            names += (names.empty() ? "" : ", ") + say(DoctorText::asItIs, {shownName(node)});
        }
    }
    if (names.empty()) {
        report({.name = CheckName::microphones,
                .status = warning,
                .detail = say(DoctorText::noMicrophones),
                .advice = say(DoctorText::inputAdvice)});
    } else {
        report({.name = CheckName::microphones, .detail = names});
    }
}

void reportDevice(const char* check, const GraphNode* device, CheckResult otherwise, const Wording& say,
                  const Report& report) {
    if (device != nullptr) {
        report({.name = check, .detail = say(DoctorText::asItIs, {shownName(*device)})});
    } else {
        report(std::move(otherwise));
    }
}

}  // namespace

void Checks::audio(const Wording& say, const Report& report) {
    const auto facts = AudioServerFacts::read(AudioServer::answerLimit);
    const auto graph =
        facts ? AudioServer::shared().snapshot() : Result<Graph>(std::unexpected(facts.error()));
    if (!graph) {
        report(serverFault(graph.error(), say));
        reportNothingKnown(say, report);
        return;
    }
    report({.name = CheckName::audioServer, .detail = say(DoctorText::audioServerVersion, {facts->version})});
    reportManager(*facts, say, report);
    const GraphNode* const output = graph->defaultSink ? graph->nodeNamed(*graph->defaultSink) : nullptr;
    const GraphNode* input = graph->defaultSource ? graph->nodeNamed(*graph->defaultSource) : nullptr;
    if (input != nullptr && !input->isSource()) {
        input = nullptr;  // without a microphone the default is the monitor of an output
    }
    reportDevice(CheckName::defaultOutput, output,
                 {.name = CheckName::defaultOutput,
                  .status = fault,
                  .detail = say(DoctorText::outputAbsent),
                  .advice = say(DoctorText::outputAdvice)},
                 say, report);
    reportDevice(CheckName::defaultInput, input,
                 {.name = CheckName::defaultInput,
                  .status = warning,
                  .detail = say(DoctorText::inputAbsent),
                  .advice = say(DoctorText::inputAdvice)},
                 say, report);
    reportCapture(*graph, output, say, report);
    reportMicrophones(*graph, say, report);
}

}  // namespace tarn
