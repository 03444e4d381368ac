#include "base/XmlFile.h"

#include <algorithm>
#include <charconv>
#include <string_view>
#include <utility>

#include <boost/algorithm/string/predicate.hpp>
#include <boost/container/small_vector.hpp>

#include "base/FileManager.h"
#include "base/Text.h"

namespace Base {

namespace {

// A fragment, so that text outside of the root element is seen and not dropped.
constexpr unsigned kParseOptions = pugi::parse_cdata | pugi::parse_escapes | pugi::parse_eol |
                                   pugi::parse_wconv_attribute | pugi::parse_ws_pcdata_single |
                                   pugi::parse_embed_pcdata | pugi::parse_fragment | pugi::parse_declaration;

constexpr std::pair<std::string_view, std::string_view> kLiteralParts[] = {
    {"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<?", "?>"}};

int countLines(std::string_view text) {
    return 1 + static_cast<int>(std::count(text.begin(), text.end(), '\n'));
}

// `text` begins with "&".
bool isReference(std::string_view text) {
    const std::size_t end = text.substr(0, 32).find(';');
    if (end == std::string_view::npos) {
        return false;
    }
    std::string_view name = text.substr(1, end - 1);
    if (!name.starts_with('#')) {
        return name == "amp" || name == "lt" || name == "gt" || name == "quot" || name == "apos";
    }
    name.remove_prefix(1);
    const bool hex = name.starts_with('x');
    name.remove_prefix(hex ? 1 : 0);
    unsigned long code = 0;
    const char* last = name.data() + name.size();
    const auto [stop, error] = std::from_chars(name.data(), last, code, hex ? 16 : 10);
    return error == std::errc() && stop == last && Text::isXmlCharacter(code);
}

// The offset of an "&" that begins no reference, where one must stand.
std::size_t findBadReference(std::string_view text) {
    std::size_t at = text.find('&');
    while (at != std::string_view::npos && isReference(text.substr(at))) {
        at = text.find('&', at + 1);
    }
    if (at == std::string_view::npos) {
        return at;
    }
    // It may stand in a comment or the like, so look at the text as a whole.
    at = 0;
    while ((at = text.find_first_of("&<", at)) != std::string_view::npos) {
        const std::string_view rest = text.substr(at);
        std::size_t step = 1;
        if (rest.front() == '&') {
            if (!isReference(rest)) {
                return at;
            }
        } else {
            for (const auto& [open, close] : kLiteralParts) {
                if (rest.starts_with(open)) {
                    const std::size_t end = rest.find(close, open.size());
                    step = end == std::string_view::npos ? rest.size() : end + close.size();
                    break;
                }
            }
        }
        at += step;
    }
    return at;
}

void checkText(std::string_view text) {
    if (text.empty()) {
        throw XmlFile::Error(0, "the file is empty");
    }
    if (text.starts_with("bplist")) {
        throw XmlFile::Error(0, "the file is a binary property list; convert it to XML first");
    }
    if (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF")) {
        throw XmlFile::Error(1, "the file is UTF-16, expected UTF-8");
    }
    std::size_t bad = Text::findNonXml(text);
    if (bad != std::string_view::npos) {
        const bool control = static_cast<unsigned char>(text[bad]) < 0x20;
        throw XmlFile::Error(countLines(text.substr(0, bad)),
                             control ? "damaged file: a control character" : "damaged file: not UTF-8");
    }
    bad = findBadReference(text);
    if (bad != std::string_view::npos) {
        throw XmlFile::Error(countLines(text.substr(0, bad)),
                             "damaged file: \"&\" begins no character that is known");
    }
}

}  // namespace

XmlFile::Error::~Error() = default;

XmlFile::XmlFile(const boost::filesystem::path& file)
    : mFile(file), mText(FileManager::loadFile(file)), mState(FileState::of(mText.text())) {
    checkText(mText.text());
    const pugi::xml_parse_result result =
        mDocument.load_buffer_inplace(mText.data(), mText.size(), kParseOptions, pugi::encoding_utf8);
    if (!result) {
        throw Error(lineAt(result.offset), std::string("damaged file: ") + result.description());
    }
    for (const pugi::xml_node node : mDocument.children()) {
        if (repeatsAttribute(node)) {
            throw Error(line(node), "damaged file: an attribute stands twice in one element");
        }
        if (node.type() == pugi::node_declaration) {
            const char* encoding = node.attribute("encoding").as_string("UTF-8");
            if (std::string_view(encoding) != "UTF-8" && !boost::algorithm::iequals(encoding, "UTF-8") &&
                !boost::algorithm::iequals(encoding, "US-ASCII")) {
                throw Error(line(node),
                            std::string("the file's encoding is ") + encoding + ", expected UTF-8");
            }
        } else if (node.type() != pugi::node_element || mRoot) {
            throw Error(line(node), "damaged file: something stands outside of the root element");
        } else {
            mRoot = node;
        }
    }
    if (!mRoot) {
        throw Error(0, "damaged file: there is no XML element in it");
    }
}

int XmlFile::line(pugi::xml_node element) const {
    return lineAt(element.offset_debug());
}

int XmlFile::lineAt(std::ptrdiff_t offset) const {
    try {
        const std::string text = FileManager::readFile(mFile);
        if (offset < 0 || static_cast<std::size_t>(offset) > text.size()) {
            return 0;
        }
        return countLines(std::string_view(text).substr(0, static_cast<std::size_t>(offset)));
    } catch (const std::exception&) {
        return 0;
    }
}

bool XmlFile::repeatsAttribute(pugi::xml_node element) {
    pugi::xml_attribute one = element.first_attribute();
    if (isNone(one) || isNone(one.next_attribute())) {
        return false;
    }
    boost::container::small_vector<std::string_view, 8> names;  // elements have no more
    for (; !isNone(one); one = one.next_attribute()) {
        names.emplace_back(one.name());
    }
    std::sort(names.begin(), names.end());
    return std::adjacent_find(names.begin(), names.end()) != names.end();
}

bool XmlFile::holdsOnlyElements(pugi::xml_node element) {
    if (!Text::isBlank(element.value())) {
        return false;
    }
    for (const pugi::xml_node child : element.children()) {
        if (child.type() != pugi::node_element && !Text::isBlank(child.value())) {
            return false;
        }
    }
    return true;
}

std::optional<std::string_view> XmlFile::text(pugi::xml_node element, std::string& joined) {
    const pugi::xml_node first = element.first_child();
    if (isNone(first)) {
        return element.value();
    }
    joined = element.value();
    for (pugi::xml_node child = first; child; child = child.next_sibling()) {
        if (child.type() == pugi::node_element) {
            return std::nullopt;
        }
        joined += child.value();
    }
    return joined;
}

}  // namespace Base
