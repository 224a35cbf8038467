#pragma once

#include <elf.h>
#include <link.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

namespace qv::tests {

/// Makes a library on disk no longer export name: a dynamic symbol without a value is one that the
/// library itself would need from elsewhere. Throws when the library does not export name.
inline void HideSymbol(const std::string& file, const std::string& name) {
  std::string bytes;
  {
    std::ifstream in(file, std::ios::binary);
    bytes.assign(std::istreambuf_iterator<char>(in), {});
  }
  if (bytes.size() < sizeof(ElfW(Ehdr))) throw std::runtime_error("no library " + file);
  const auto* header = reinterpret_cast<const ElfW(Ehdr)*>(bytes.data());
  const auto* sections = reinterpret_cast<const ElfW(Shdr)*>(bytes.data() + header->e_shoff);
  for (const auto* section = sections; section != sections + header->e_shnum; ++section) {
    if (section->sh_type != SHT_DYNSYM) continue;
    const char* names = bytes.data() + sections[section->sh_link].sh_offset;
    auto* symbol = reinterpret_cast<ElfW(Sym)*>(&bytes[section->sh_offset]);
    auto* const end = symbol + section->sh_size / sizeof *symbol;
    for (; symbol != end; ++symbol) {
      if (name != names + symbol->st_name || symbol->st_value == 0) continue;
      symbol->st_value = 0;
      symbol->st_shndx = SHN_UNDEF;
      std::ofstream(file, std::ios::binary | std::ios::trunc) << bytes;
      return;
    }
  }
  throw std::runtime_error(file + " does not export " + name);
}

}  // namespace qv::tests
