#include "programs/common/References.h"

#include <algorithm>

namespace {

const std::string letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_";
const std::string digits = "0123456789";

/// The end of the reference that begins there; the beginning itself when none does.
std::size_t endOfReference(const std::string& text, std::size_t begin) {
    const std::size_t next = begin + 1;
    if (next < text.size() && text[next] == '{') {
        const std::size_t brace = text.find('}', next);
        return brace == std::string::npos ? begin : brace + 1;
    }
    if (next < text.size() && letters.find(text[next]) != std::string::npos) {
        return std::min(text.find_first_not_of(letters + digits, next), text.size());
    }
    return begin;
}

}  // namespace

std::vector<Reference> referencesIn(const std::string& text) {
    std::vector<Reference> result;
    for (std::size_t begin = text.find('$'); begin != std::string::npos;) {
        const std::size_t end = endOfReference(text, begin);
        const std::size_t mark = end > begin && text[begin + 1] == '{' ? 2 : 1;
        if (end > begin + 2 * mark - 1) {  // ${} is no reference
            result.push_back({begin, end, text.substr(begin + mark, end - begin - 2 * mark + 1)});
        }
        begin = text.find('$', std::max(end, begin + 1));
    }
    return result;
}

bool isReferable(const std::string& name) {
    return !name.empty() && name.front() != '_' && letters.find(name.front()) != std::string::npos &&
           name.find_first_not_of(letters + digits) == std::string::npos;
}
