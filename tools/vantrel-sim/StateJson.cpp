#include "StateJson.h"

#include <charconv>
#include <cmath>

namespace vantrel::sim {

void appendDouble(std::string& out, double value) {
    if (!std::isfinite(value)) {
        out += "null"; // JSON has no spelling for these; the rules never produce them
        return;
    }
    char buffer[32];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    out.append(buffer, result.ptr);
}

namespace {

void appendInt(std::string& out, int64_t value) {
    char buffer[24];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    out.append(buffer, result.ptr);
}

void appendBool(std::string& out, bool value) {
    out += value ? "true" : "false";
}

void key(std::string& out, const char* name) {
    out += '"';
    out += name;
    out += "\":";
}

} // namespace

void appendStateJson(std::string& out, const Runner& r) {
    out += '{';
    key(out, "phase");
    out += '"';
    out += toString(r.phase());
    out += "\",";
    key(out, "height");
    appendDouble(out, r.height());
    out += ',';
    key(out, "velocity");
    appendDouble(out, r.velocity());
    out += ',';
    key(out, "elapsed");
    appendDouble(out, r.elapsed());
    out += ',';
    key(out, "distance");
    appendDouble(out, r.distance());
    out += ',';
    key(out, "score");
    appendInt(out, r.score());
    out += ',';
    key(out, "speed");
    appendDouble(out, r.speed());
    out += ',';
    key(out, "difficulty");
    appendDouble(out, r.difficulty());
    out += ',';
    key(out, "speedLevel");
    appendInt(out, r.speedLevel());
    out += ',';
    key(out, "grounded");
    appendBool(out, r.grounded());
    out += ',';
    key(out, "ducking");
    appendBool(out, r.ducking());
    out += ',';
    key(out, "jumps");
    appendInt(out, r.jumps());
    out += ',';
    key(out, "resumeGrace");
    appendDouble(out, r.resumeGrace());
    out += ',';
    key(out, "downHeld");
    appendBool(out, r.downHeld());
    out += ',';
    key(out, "flyersSpawned");
    appendInt(out, r.flyersSpawned());
    out += ',';
    key(out, "worldWidth");
    appendDouble(out, r.worldWidth());
    out += ',';
    key(out, "obstacles");
    out += '[';
    bool first = true;
    for (const Obstacle& o : r.obstacles()) {
        if (!first) {
            out += ',';
        }
        first = false;
        out += '{';
        key(out, "id");
        appendInt(out, o.id);
        out += ',';
        key(out, "x");
        appendDouble(out, o.x);
        out += ',';
        key(out, "width");
        appendDouble(out, o.width);
        out += ',';
        key(out, "height");
        appendDouble(out, o.height);
        out += ',';
        key(out, "clustered");
        appendBool(out, o.clustered);
        out += ',';
        key(out, "kind");
        out += '"';
        out += toString(o.kind);
        out += "\",";
        key(out, "elevation");
        appendDouble(out, o.elevation);
        out += '}';
    }
    out += "]}";
}

} // namespace vantrel::sim
