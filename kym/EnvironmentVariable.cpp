#include "kym/EnvironmentVariable.h"

#include <algorithm>
#include <string_view>

#include "base/Coder.h"
#include "kym/CharacterClass.h"
#include "kym/ListRows.h"

namespace Kym {
namespace {

const std::string nameKey = "Name Key";
const std::string valueKey = "Value Key";
const std::string commentKey = "Comment Key";
const std::string typeKey = "Variable Type Key";
[[maybe_unused]] const std::string noOverrideKey = "No Override Key";  // reserved: neither written nor read

const std::string nameColumn = "Name";

Base::Coder<EnvironmentVariable> coder("EnvironmentVariable");
Base::CollectionCoder<std::vector<EnvironmentVariable>> listCoder("EnvVariableList");

bool isValidName(std::string_view name) {
    if (name.starts_with('#')) {
        return areWordCharacters(name.substr(1));
    }
    return name.empty() || (isLetter(name.front()) && areWordCharacters(name));
}

bool isValidValue(const std::string& value) {
    const auto count = [&](char c) { return std::count(value.begin(), value.end(), c); };
    return count('%') % 2 == 0 && count('{') == count('}');
}

}  // namespace

EnvironmentVariable::EnvironmentVariable() = default;
EnvironmentVariable::EnvironmentVariable(const std::string& theName, const std::string& theValue)
    : name(theName), value(theValue) {}
EnvironmentVariable::EnvironmentVariable(const std::string& theName, PlatformType theType)
    : name(theName), type(theType) {}
EnvironmentVariable::EnvironmentVariable(const EnvironmentVariable&) = default;
EnvironmentVariable::EnvironmentVariable(EnvironmentVariable&&) noexcept = default;
EnvironmentVariable& EnvironmentVariable::operator=(const EnvironmentVariable&) = default;
EnvironmentVariable& EnvironmentVariable::operator=(EnvironmentVariable&&) noexcept = default;
EnvironmentVariable::~EnvironmentVariable() = default;

void EnvironmentVariable::encode(Base::Archiver& archiver) {
    archiver.encode(nameKey, name);
    archiver.encode(valueKey, value);
    archiver.encode(commentKey, comment);
    archiver.encode(typeKey, static_cast<int>(type));
}

void EnvironmentVariable::decode(Base::Unarchiver& unarchiver) {
    unarchiver.decode(nameKey, name);
    unarchiver.decode(valueKey, value);
    unarchiver.decode(commentKey, comment);
    int number = 0;
    unarchiver.decode(typeKey, number);
    type = static_cast<PlatformType>(number);
}

EnvVariableListSource::EnvVariableListSource(std::vector<EnvironmentVariable>* list) : mList(list) {}

int EnvVariableListSource::numberOfRowsInList() const {
    return numberOfRows(mList);
}

boost::any EnvVariableListSource::valueForListColumnRow(const std::string& column, int row) const {
    if (!mList) {
        return {};
    }
    const EnvironmentVariable& variable = rowOf(*mList, row);
    return column == nameColumn ? variable.name : variable.value;
}

bool EnvVariableListSource::setValueForListColumnRow(const std::string& column, int row,
                                                     const boost::any& value) {
    if (!mList) {
        return false;
    }
    const auto& text = boost::any_cast<const std::string&>(value);
    EnvironmentVariable& variable = rowOf(*mList, row);
    (column == nameColumn ? variable.name : variable.value) = text;
    mEdited = true;
    return true;
}

void EnvVariableListSource::insertRow(int row) {
    insertDefaultRow(mList, row, mEdited);
}

void EnvVariableListSource::deleteRows(const std::vector<int>& rows) {
    eraseRows(mList, rows, mEdited);
}

bool EnvVariableListSource::valueIsValid(const std::string& column, int row) const {
    const EnvironmentVariable& variable = rowOf(*mList, row);
    return column == nameColumn ? isValidName(variable.name) : isValidValue(variable.value);
}

EnvironmentVariable& EnvVariableListSource::variable(int index) {
    return rowOf(*mList, index);
}

}  // namespace Kym
