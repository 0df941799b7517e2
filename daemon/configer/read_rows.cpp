#include "daemon/configer/read_rows.h"

namespace
{

void AddKey(TextBuilder &out, std::string_view key, const KeyParts &parts)
{
    size_t from = 0;
    for (size_t at = 0; (at = key.find_first_of("#*", from)) != std::string_view::npos; from = at + 1) {
        out.Add({key.data() + from, at - from});
        if (key[at] == '#')
            out.AddInt(parts.iNumber);
        else
            out.Add(parts.word);
    }
    out.Add({key.data() + from, key.size() - from});
}

} // namespace

StoreKey::StoreKey(std::string_view key, const KeyParts &parts)
{
    AddKey(*this, key, parts);
    Add("=");
}

void Read_AddKey(TextBuilder &keys, std::string_view key, const KeyParts &parts)
{
    AddKey(keys, key, parts);
    keys.Add("&");
}

void Read_AddRow(TextBuilder &keys, const ReadRule &rule, const KeyParts &parts)
{
    if (rule.hasParts)
        AddKey(keys, rule.Key(), parts);
    else
        keys.Add(rule.Key());
    keys.Add(rule.acEnding);
}
