#include "model/vector/PdfParser.h"

#include "model/vector/PdfContent.h"
#include "model/vector/PdfFilters.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>

namespace velorin {

namespace {

constexpr std::uint32_t kMostObjectNumbers = 8'388'607; // the format's own limit
constexpr int kMostTables = 1024;                       // older versions of one document
constexpr int kMostFilters = 16;
constexpr std::size_t kDeepestLoad = 64; // objects that need another one to be read
constexpr std::size_t kReadings = 4;     // of each byte: with and without a table, as part of other objects
constexpr std::size_t kMostInStreams = 32u << 20; // characters of objects in streams
constexpr std::size_t kMostPagesWalked = 100'000;

std::uint64_t BigEndian(std::string_view bytes) {
    std::uint64_t value = 0;
    for (const char c : bytes) value = (value << 8) | static_cast<unsigned char>(c);
    return value;
}

} // namespace

PdfParser::PdfParser() = default;
PdfParser::~PdfParser() = default;

PdfPage PdfParser::Read(const std::string& path) {
    file_ = MappedFile::Open(path, FileAccess::Read);
    if (!file_.valid()) throw PdfError("The file cannot be opened: " + file_.reason() + ".");
    return ReadBytes(file_.bytes());
}

PdfPage PdfParser::ReadBytes(Bytes bytes) {
    text_ = {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
    if (text_.substr(0, 5) != "%PDF-") throw PdfError("The file is not a PDF.");
    pool_.allow(kReadings * text_.size() + kMostInStreams);
    if (!ReadCrossReferences() || !Get<PdfDictionary>(trailer_, "Root")) {
        loaded_.clear();
        SearchObjects();
    }
    if (trailer_ && trailer_->raw("Encrypt")) throw PdfError("The file is encrypted.");
    std::vector<const PdfDictionary*> nodes = FirstPage();
    if (nodes.empty()) throw PdfError("The file has no page.");
    return PdfPage(*this, std::move(nodes));
}

bool PdfParser::ReadCrossReferences() {
    // The last "startxref" leads to the newest table; each names the one before it.
    const std::size_t mark = text_.rfind("startxref");
    if (mark == std::string_view::npos) return false;
    PdfLexer lexer(text_, mark + 9, pool_);
    std::uint64_t offset = 0;
    if (!lexer.unsignedNumber(offset)) return false;
    std::unordered_set<std::uint64_t> seen;
    std::vector<std::uint64_t> waiting{offset};
    for (int tables = 0; !waiting.empty() && tables < kMostTables; ++tables) {
        offset = waiting.back();
        waiting.pop_back();
        if (offset >= text_.size() || !seen.insert(offset).second) continue;
        lexer.seek(static_cast<std::size_t>(offset));
        const PdfDictionary* trailer = nullptr;
        const bool good = lexer.accept("xref")
                              ? ReadTable(lexer, trailer)
                              : ReadReferenceStream(static_cast<std::size_t>(offset), trailer);
        if (!good || !trailer) return false;
        if (!trailer_) trailer_ = trailer;
        for (const char* key : {"Prev", "XRefStm"}) { // the hybrid stream is looked at first
            const double at = Number(trailer->raw(key), -1);
            if (at >= 0) waiting.push_back(static_cast<std::uint64_t>(at));
        }
    }
    return trailer_ != nullptr;
}

bool PdfParser::ReadTable(PdfLexer& lexer, const PdfDictionary*& trailer) {
    std::uint64_t first = 0, count = 0;
    const std::size_t start = lexer.position();
    while (lexer.unsignedNumber(first)) {
        if (!lexer.unsignedNumber(count) || first + count > kMostObjectNumbers) return false;
        for (std::uint64_t i = 0; i < count; ++i) {
            std::uint64_t offset = 0, generation = 0;
            if (!lexer.unsignedNumber(offset) || !lexer.unsignedNumber(generation)) return false;
            const std::string state = lexer.word();
            if (state == "n")
                places_.try_emplace(static_cast<std::uint32_t>(first + i), Place{offset, false});
        }
    }
    pool_.read(lexer.position() - start);
    if (!lexer.accept("trailer")) return false;
    std::string word;
    trailer = As<PdfDictionary>(lexer.object(word, true));
    return trailer != nullptr;
}

bool PdfParser::ReadReferenceStream(std::size_t offset, const PdfDictionary*& trailer) {
    const auto* stream = As<PdfStream>(ParseObjectAt(offset, 0));
    if (!stream) return false;
    trailer = stream->dictionary;
    const auto* widths = Get<PdfArray>(trailer, "W");
    if (!widths || widths->items.size() < 3) return false;
    std::array<std::size_t, 3> width{};
    for (std::size_t k = 0; k < 3; ++k)
        width[k] = static_cast<std::size_t>(std::clamp(Number(widths->items[k], 0), 0.0, 8.0));
    const std::size_t row = width[0] + width[1] + width[2];
    if (row == 0) return false;
    const std::string data = Decode(*stream);
    std::vector<double> sections;
    if (const auto* index = Get<PdfArray>(trailer, "Index"))
        for (const PdfObject* item : index->items) sections.push_back(Number(item, 0));
    else
        sections = {0, Number(trailer, "Size", 0)};
    std::size_t position = 0;
    for (std::size_t s = 0; s + 1 < sections.size(); s += 2) {
        if (sections[s] < 0 || sections[s + 1] < 0 || sections[s] + sections[s + 1] > kMostObjectNumbers)
            return false;
        const auto first = static_cast<std::uint32_t>(sections[s]),
                   count = static_cast<std::uint32_t>(sections[s + 1]);
        for (std::uint32_t i = 0; i < count && data.size() - position >= row; ++i, position += row) {
            const std::string_view entry = std::string_view(data).substr(position, row);
            const std::uint64_t type = width[0] ? BigEndian(entry.substr(0, width[0])) : 1;
            const std::uint64_t second = BigEndian(entry.substr(width[0], width[1]));
            if (type == 1) places_.try_emplace(first + i, Place{second, false});
            if (type == 2) places_.try_emplace(first + i, Place{second, true});
        }
    }
    return true;
}

// Without a usable table: every "n g obj" of the file counts, later ones in place of earlier ones.
void PdfParser::SearchObjects() {
    places_.clear();
    const PdfDictionary* catalogue = nullptr;
    for (std::size_t at = text_.find("obj"); at != std::string_view::npos; at = text_.find("obj", at + 3)) {
        if (at >= 3 && text_.substr(at - 3, 3) == "end") continue;
        std::size_t i = at;
        const auto back = [&](auto&& accepts) {
            const std::size_t end = i;
            while (i > 0 && accepts(text_[i - 1])) --i;
            return end - i;
        };
        const auto digit = [](char c) { return c >= '0' && c <= '9'; };
        if (!back(IsPdfBlank) || !back(digit) || !back(IsPdfBlank) || !back(digit)) continue;
        PdfLexer lexer(text_, i, pool_);
        std::uint64_t number = 0;
        if (lexer.unsignedNumber(number) && number <= kMostObjectNumbers)
            places_[static_cast<std::uint32_t>(number)] = Place{i, false};
    }
    std::vector<std::uint32_t> numbers;
    for (const auto& [number, place] : places_) numbers.push_back(number);
    std::sort(numbers.begin(), numbers.end());
    for (const std::uint32_t number : numbers) {
        const PdfObject* object = Load(number);
        const PdfDictionary* dictionary = Dictionary(object);
        if (!dictionary) continue;
        const std::string type = Name(dictionary, "Type");
        if (type == "Catalog") catalogue = dictionary;
        if (type != "ObjStm" || !As<PdfStream>(object)) continue;
        const double count = Number(dictionary, "N", 0);
        const std::string text = Decode(*As<PdfStream>(object));
        PdfLexer head(text, 0, pool_);
        for (std::uint32_t k = 0; k < std::min(count, 100'000.0); ++k) {
            std::uint64_t inner = 0, offset = 0;
            if (!head.unsignedNumber(inner) || !head.unsignedNumber(offset)) break;
            if (inner <= kMostObjectNumbers)
                places_.try_emplace(static_cast<std::uint32_t>(inner), Place{number, true});
            if (const auto* d = As<PdfDictionary>(Load(static_cast<std::uint32_t>(inner)));
                d && Name(d, "Type") == "Catalog")
                catalogue = d;
        }
    }
    auto* trailer = pool_.make<PdfDictionary>();
    if (catalogue) trailer->entries.emplace_back("Root", catalogue);
    if (trailer_ && trailer_->raw("Encrypt"))
        trailer->entries.emplace_back("Encrypt", trailer_->raw("Encrypt"));
    trailer_ = trailer;
}

const PdfObject* PdfParser::ParseObjectAt(std::size_t offset, std::uint32_t expected) {
    PdfLexer lexer(text_, offset, pool_);
    std::uint64_t number = 0, generation = 0;
    if (!lexer.unsignedNumber(number) || !lexer.unsignedNumber(generation) || !lexer.accept("obj"))
        return nullptr;
    if (expected != 0 && number != expected) return nullptr;
    std::string word;
    const PdfObject* object = lexer.object(word, true);
    const auto* dictionary = As<PdfDictionary>(object);
    if (dictionary && lexer.accept("stream")) return ReadStream(lexer, dictionary);
    return object;
}

const PdfObject* PdfParser::ReadStream(PdfLexer& lexer, const PdfDictionary* dictionary) {
    std::size_t start = lexer.position();
    if (start < text_.size() && text_[start] == '\r') ++start;
    if (start < text_.size() && text_[start] == '\n') ++start;
    const double length = Number(dictionary->raw("Length"), -1);
    // The length is believed when the stream's end stands behind it, else that end is searched for.
    if (length >= 0 && length <= static_cast<double>(text_.size() - start)) {
        const auto size = static_cast<std::size_t>(length);
        PdfLexer behind(text_, start + size, pool_);
        if (behind.accept("endstream"))
            return pool_.make<PdfStream>(dictionary, std::as_bytes(std::span(text_.data() + start, size)));
    }
    std::size_t end = text_.find("endstream", start);
    if (end == std::string_view::npos) end = text_.size();
    pool_.read(end - start);
    return pool_.make<PdfStream>(dictionary, std::as_bytes(std::span(text_.data() + start, end - start)));
}

const PdfObject* PdfParser::Load(std::uint32_t number) {
    if (const auto known = loaded_.find(number); known != loaded_.end()) return known->second;
    const auto place = places_.find(number);
    if (place == places_.end() || loading_.size() > kDeepestLoad || !loading_.insert(number).second)
        return nullptr;
    struct Leave {
        std::unordered_set<std::uint32_t>& set;
        std::uint32_t number;
        ~Leave() { set.erase(number); }
    } leave{loading_, number};
    const PdfObject* object = place->second.inStream
                                  ? LoadFromStream(place->second, number)
                                  : ParseObjectAt(static_cast<std::size_t>(place->second.offset), number);
    loaded_[number] = object;
    return object;
}

const PdfObject* PdfParser::LoadFromStream(const Place& place, std::uint32_t number) {
    auto& known = objectStreams_[place.offset];
    if (!known) {
        if (place.offset > kMostObjectNumbers) return nullptr;
        const auto* stream = As<PdfStream>(Load(static_cast<std::uint32_t>(place.offset)));
        auto fresh = std::make_unique<ObjectStream>();
        if (stream) {
            fresh->text = Decode(*stream);
            const double count = Number(stream->dictionary, "N", 0),
                         first = Number(stream->dictionary, "First", 0);
            PdfLexer head(fresh->text, 0, pool_);
            for (double k = 0; k < std::min(count, 100'000.0); ++k) {
                std::uint64_t inner = 0, offset = 0;
                if (!head.unsignedNumber(inner) || !head.unsignedNumber(offset)) break;
                fresh->objects.try_emplace(
                    static_cast<std::uint32_t>(inner),
                    static_cast<std::size_t>(std::clamp(first, 0.0, 4e9)) +
                        static_cast<std::size_t>(std::min<std::uint64_t>(offset, 1u << 31)));
            }
        }
        objectStreams_[place.offset] = std::move(fresh);
    }
    const ObjectStream& holder = *objectStreams_[place.offset];
    const auto offset = holder.objects.find(number);
    if (offset == holder.objects.end()) return nullptr;
    PdfLexer lexer(holder.text, offset->second, pool_);
    std::string word;
    return lexer.object(word, true);
}

const PdfObject* PdfParser::Resolve(const PdfObject* object) {
    for (int steps = 0; steps < 32; ++steps) {
        const auto* reference = As<PdfIndirect>(object);
        if (!reference) return object;
        object = Load(reference->number);
    }
    return nullptr;
}

double PdfParser::Number(const PdfObject* object, double otherwise) {
    const auto* number = As<PdfNumber>(Resolve(object));
    return number && std::isfinite(number->value) ? number->value : otherwise;
}

double PdfParser::Number(const PdfDictionary* dictionary, std::string_view name, double otherwise) {
    return dictionary ? Number(dictionary->raw(name), otherwise) : otherwise;
}

std::string PdfParser::Name(const PdfDictionary* dictionary, std::string_view name) {
    const auto* value = Get<PdfName>(dictionary, name);
    return value ? value->name : std::string();
}

const PdfDictionary* PdfParser::Dictionary(const PdfObject* object) {
    object = Resolve(object);
    if (const auto* stream = As<PdfStream>(object)) return stream->dictionary;
    return As<PdfDictionary>(object);
}

std::string PdfParser::Decode(const PdfStream& stream) {
    std::string bytes(reinterpret_cast<const char*>(stream.bytes.data()), stream.bytes.size());
    const auto list = [&](const char* name, const char* shortName) {
        const PdfObject* value = Resolve(stream.dictionary->raw(name));
        if (!value) value = Resolve(stream.dictionary->raw(shortName));
        std::vector<const PdfObject*> items;
        if (const auto* array = As<PdfArray>(value))
            items = array->items;
        else if (value)
            items.push_back(value);
        return items;
    };
    const auto filters = list("Filter", "F"), parameters = list("DecodeParms", "DP");
    if (filters.size() > kMostFilters) throw PdfError("A stream of the file has too many filters.");
    for (std::size_t i = 0; i < filters.size(); ++i) {
        const auto* filter = As<PdfName>(Resolve(filters[i]));
        if (!filter) continue;
        PdfPredictor predictor;
        if (i < parameters.size())
            if (const PdfDictionary* d = Dictionary(parameters[i])) {
                const auto whole = [&](const char* name, int otherwise) {
                    return static_cast<int>(std::clamp(Number(d, name, otherwise), 0.0, 1e7));
                };
                predictor = {whole("Predictor", 1), whole("Colors", 1), whole("BitsPerComponent", 8),
                             whole("Columns", 1), whole("EarlyChange", 1)};
            }
        bytes = DecodeFilter(filter->name, std::move(bytes), predictor, kMostDecodedBytes - decoded_);
    }
    decoded_ += bytes.size();
    if (decoded_ > kMostDecodedBytes) throw PdfError("The streams of the file unpack to too many bytes.");
    return bytes;
}

// Depth first along the first kids: the page and what it lies in, empty when there is none.
std::vector<const PdfDictionary*> PdfParser::FirstPage() {
    const auto* node = Get<PdfDictionary>(Get<PdfDictionary>(trailer_, "Root"), "Pages");
    struct Step {
        const PdfDictionary* node;
        const PdfArray* kids;
        std::size_t next;
    };
    std::vector<Step> path;
    std::unordered_set<const PdfDictionary*> seen;
    for (std::size_t looked = 0; looked < kMostPagesWalked; ++looked) {
        if (node && seen.insert(node).second) {
            path.push_back({node, Get<PdfArray>(node, "Kids"), 0});
            if (!path.back().kids) {
                std::vector<const PdfDictionary*> nodes;
                for (const Step& step : path) nodes.push_back(step.node);
                return nodes;
            }
        }
        while (!path.empty() && path.back().next >= path.back().kids->items.size()) path.pop_back();
        if (path.empty()) return {};
        node = Dictionary(path.back().kids->items[path.back().next++]);
    }
    return {};
}

template <class T>
const T* PdfPage::inherited(const char* key) const {
    for (auto node = nodes_.rbegin(); node != nodes_.rend(); ++node)
        if (const T* value = parser_.Get<T>(*node, key)) return value;
    return nullptr;
}

// Quarter turns clockwise.
void PdfPage::turn(std::vector<std::vector<PathPoint>>& paths) const {
    const auto* degrees = inherited<PdfNumber>("Rotate");
    const int quarters = degrees ? static_cast<int>(std::fmod(degrees->value, 360) / 90 + 4) % 4 : 0;
    if (quarters == 0) return;
    const auto* box = inherited<PdfArray>("MediaBox");
    const auto side = [&](std::size_t i) {
        return box && i < box->items.size() ? static_cast<float>(parser_.Number(box->items[i], 0)) : 0.0f;
    };
    const Point2 low{std::min(side(0), side(2)), std::min(side(1), side(3))},
        high{std::max(side(0), side(2)), std::max(side(1), side(3))};
    const auto turned = [&](Point2 v) {
        return quarters == 1 ? Point2{v.y, -v.x} : quarters == 2 ? Point2{-v.x, -v.y} : Point2{-v.y, v.x};
    };
    // The corner that becomes the lower left one.
    const Point2 corner = quarters == 1   ? Point2{high.x, low.y}
                          : quarters == 2 ? high
                                          : Point2{low.x, high.y};
    for (auto& path : paths)
        for (PathPoint& p : path)
            p = {turned(p.position - corner), turned(p.tangentIn), turned(p.tangentOut)};
}

std::vector<std::vector<PathPoint>> PdfPage::Paths() const {
    std::string content;
    const PdfObject* contents = parser_.Resolve(nodes_.back()->raw("Contents"));
    if (const auto* stream = As<PdfStream>(contents)) content = parser_.Decode(*stream);
    if (const auto* array = As<PdfArray>(contents))
        for (const PdfObject* item : array->items)
            if (const auto* part = As<PdfStream>(parser_.Resolve(item)))
                content += parser_.Decode(*part) + "\n";
    PdfContent runner(parser_);
    runner.Run(content, inherited<PdfDictionary>("Resources"));
    auto paths = runner.TakePaths();
    turn(paths);
    return paths;
}

} // namespace velorin
