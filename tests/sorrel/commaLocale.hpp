#pragma once
// A locale whose decimal point is a comma and which groups digits, as long as this object lives.

#include <clocale>
#include <locale>
#include <string>

/// For streams in any case; for the C library, and what stands on it, if the machine has such a
/// locale.
class CommaLocale {
public:
    CommaLocale()
        : _oldLocale(std::locale::global(std::locale(std::locale(), new Comma))),
          _oldNames(std::setlocale(LC_ALL, nullptr)) {
        for (const char* const name : {"de_DE.UTF-8", "de_DE", "fr_FR.UTF-8", "fr_FR"}) {
            if (std::setlocale(LC_ALL, name) != nullptr) break;
        }
    }
    CommaLocale(const CommaLocale&) = delete;
    CommaLocale& operator=(const CommaLocale&) = delete;
    ~CommaLocale() {
        std::locale::global(_oldLocale);
        std::setlocale(LC_ALL, _oldNames.c_str());
    }

private:
    struct Comma : std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
        std::string do_truename() const override { return "wahr"; }
        std::string do_falsename() const override { return "falsch"; }
    };

    const std::locale _oldLocale;
    const std::string _oldNames;
};
