// Runs a fuzzer without libFuzzer: FUZZER CORPUS DICTIONARY COUNT runs it on every file of the corpus and
// then on COUNT inputs made of them, the same in every run. An input that ends the process is kept in
// "failed-input" in the working directory.
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include <boost/filesystem/fstream.hpp>
#include <boost/filesystem/operations.hpp>

#include "fuzz/Fuzz.h"

namespace {

namespace fs = boost::filesystem;

constexpr std::size_t longest = 4096;
std::string current;

void keepInput(int signal) {
    if (std::FILE* file = std::fopen("failed-input", "wb")) {
        std::fwrite(current.data(), 1, current.size(), file);
        std::fclose(file);
        std::cerr << "The input is in " << fs::absolute("failed-input") << std::endl;
    }
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

void run(const std::string& input) {
    current = input;
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(current.data()), current.size());
}

std::string contentOf(const fs::path& file) {
    fs::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

/// The quoted words of a dictionary of libFuzzer, one in a line, in which \\, \" and \xNN stand for a byte.
std::vector<std::string> wordsOf(const fs::path& dictionary) {
    std::vector<std::string> words;
    for (const std::string& line : Fuzz::split(contentOf(dictionary), '\n')) {
        const std::size_t first = line.find('"');
        const std::size_t last = line.rfind('"');
        if (line.starts_with('#') || first >= last) {
            continue;
        }
        std::string word;
        for (std::size_t i = first + 1; i < last; ++i) {
            if (line[i] != '\\') {
                word += line[i];
            } else if (line[++i] == 'x') {
                word += static_cast<char>(std::stoi(line.substr(i + 1, 2), nullptr, 16));
                i += 2;
            } else {
                word += line[i];
            }
        }
        words.push_back(word);
    }
    return words;
}

class Mutation {
  public:
    Mutation(std::vector<std::string> corpus, std::vector<std::string> words)
        : mCorpus(std::move(corpus)), mWords(std::move(words)) {}

    std::string next() {
        std::string input = oneOf(mCorpus);
        for (std::size_t count = 1 + below(6); count > 0; --count) {
            change(input);
        }
        return input.substr(0, longest);
    }

  private:
    std::size_t below(std::size_t bound) { return static_cast<std::size_t>(mRandom() % bound); }
    const std::string& oneOf(const std::vector<std::string>& list) { return list[below(list.size())]; }

    void change(std::string& input) {
        const std::size_t begin = below(input.size() + 1);
        const std::size_t length = std::min(below(32), input.size() - begin);
        std::string other;
        switch (below(7)) {
            case 0:
                if (begin < input.size()) {
                    input[begin] = static_cast<char>(input[begin] ^ (1 << below(8)));
                }
                break;
            case 1:
                input.insert(begin, 1 + below(3), static_cast<char>(below(256)));
                break;
            case 2:
                input.erase(begin, length);
                break;
            case 3:
                input.insert(below(input.size() + 1), std::string(input, begin, length));
                break;
            case 4:
                other = oneOf(mCorpus);
                input.replace(begin, input.npos, other, below(other.size() + 1), other.npos);
                break;
            default:
                input.replace(begin, below(2) * length, oneOf(mWords));
        }
    }

    std::mt19937_64 mRandom;
    std::vector<std::string> mCorpus;
    std::vector<std::string> mWords;
};

int runAll(const fs::path& folder, const fs::path& dictionary, int count) {
    std::vector<fs::path> files;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    std::vector<std::string> corpus;
    std::transform(files.begin(), files.end(), std::back_inserter(corpus), contentOf);
    const std::vector<std::string> words = wordsOf(dictionary);
    if (corpus.empty() || words.empty()) {
        std::cerr << "There is nothing in " << folder << " or in " << dictionary << '\n';
        return 2;
    }
    run("");
    std::for_each(corpus.begin(), corpus.end(), run);
    Mutation mutation(corpus, words);
    for (int i = 0; i < count; ++i) {
        run(mutation.next());
    }
    std::cout << corpus.size() << " inputs of the corpus and " << count << " made of them: all hold\n";
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::cerr << "usage: " << argv[0] << " CORPUS DICTIONARY COUNT\n";
        return 2;
    }
    std::signal(SIGABRT, keepInput);
    std::signal(SIGSEGV, keepInput);
    try {
        return runAll(argv[1], argv[2], std::atoi(argv[3]));
    } catch (const std::exception& error) {
        std::cerr << "Not foreseen: " << error.what() << '\n';
        std::abort();
    }
}
