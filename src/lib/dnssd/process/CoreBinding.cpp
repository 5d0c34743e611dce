// SPDX-License-Identifier: MIT
#include "CoreBinding.h"

#include <avahi-core/core.h>

#include <dlfcn.h>
#include <link.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

namespace vesk::dnssd {

namespace {

constexpr const char* Contested = "avahi_entry_group_free";

// The dynamic section holds addresses as numbers.
// NOLINTBEGIN(performance-no-int-to-ptr)

using Address = ElfW(Addr);

struct Close
{
    void operator()(void* library) const { dlclose(library); }
};

/// A part of memory that the dynamic linker made read-only once it had bound everything.
struct ReadOnly
{
    Address begin = 0;
    Address end = 0;
    bool holds(Address address) const { return address >= begin && address < end; }
};

std::size_t symbolOf(Address info)
{
    return sizeof info == 8 ? static_cast<std::size_t>(static_cast<uint64_t>(info) >> 32U) : info >> 8U;
}

/// What the dynamic section of a loaded library tells.
class Library
{
public:
    explicit Library(const link_map& map)
        : m_map(map)
    {
    }

    /// Where the addresses are kept that its calls of a function go to.
    std::vector<Address*> slotsOf(const char* function) const
    {
        std::vector<Address*> slots;
        addSlots<ElfW(Rela)>(pointer(DT_RELA), value(DT_RELASZ), function, slots);
        addSlots<ElfW(Rel)>(pointer(DT_REL), value(DT_RELSZ), function, slots);
        if (value(DT_PLTREL) == DT_RELA)
            addSlots<ElfW(Rela)>(pointer(DT_JMPREL), value(DT_PLTRELSZ), function, slots);
        else
            addSlots<ElfW(Rel)>(pointer(DT_JMPREL), value(DT_PLTRELSZ), function, slots);
        return slots;
    }

private:
    Address value(ElfW(Sxword) tag) const
    {
        for (const auto* entry = m_map.l_ld; entry->d_tag != DT_NULL; ++entry) {
            if (entry->d_tag == tag)
                return entry->d_un.d_val;
        }
        return 0;
    }
    /// Some systems keep them relative to where the library was loaded.
    Address pointer(ElfW(Sxword) tag) const
    {
        const Address address = value(tag);
        return address == 0 || address >= m_map.l_addr ? address : address + m_map.l_addr;
    }

    template <typename Relocation>
    void addSlots(Address table, Address size, const char* function, std::vector<Address*>& slots) const
    {
        const auto* symbols = reinterpret_cast<const ElfW(Sym)*>(pointer(DT_SYMTAB));
        const auto* names = reinterpret_cast<const char*>(pointer(DT_STRTAB));
        const auto* relocations = reinterpret_cast<const Relocation*>(table);
        for (std::size_t i = 0; table != 0 && i < size / sizeof(Relocation); ++i) {
            const std::size_t symbol = symbolOf(relocations[i].r_info);
            if (symbol != 0 && std::strcmp(names + symbols[symbol].st_name, function) == 0)
                slots.push_back(reinterpret_cast<Address*>(m_map.l_addr + relocations[i].r_offset));
        }
    }

    const link_map& m_map;
};

ReadOnly readOnlyPartOf(const link_map& map)
{
    struct Search
    {
        const link_map& map;
        ReadOnly found;
    } search{map, {}};
    dl_iterate_phdr(
        [](dl_phdr_info* info, std::size_t, void* context) {
            auto* wanted = static_cast<Search*>(context);
            if (info->dlpi_addr != wanted->map.l_addr)
                return 0;
            for (int i = 0; i < info->dlpi_phnum; ++i) {
                const auto& part = info->dlpi_phdr[i];
                const Address begin = info->dlpi_addr + part.p_vaddr;
                if (part.p_type == PT_GNU_RELRO)
                    wanted->found = {begin, begin + part.p_memsz};
            }
            return 1;
        },
        &search);
    return search.found;
}

bool protect(Address* slot, int protection)
{
    const auto page = static_cast<Address>(sysconf(_SC_PAGESIZE));
    auto* begin = reinterpret_cast<void*>(reinterpret_cast<Address>(slot) & ~(page - 1));
    return mprotect(begin, page, protection) == 0;
}

bool bind(Address* slot, Address own, const ReadOnly& readOnly)
{
    if (*slot == own)
        return true;
    const bool isReadOnly = readOnly.holds(reinterpret_cast<Address>(slot));
    if (isReadOnly && !protect(slot, PROT_READ | PROT_WRITE))
        return false;
    *slot = own;
    return !isReadOnly || protect(slot, PROT_READ);
}

} // namespace

bool bindCoreToItself()
{
    Dl_info info{};
    void* found = nullptr;
    if (dladdr1(reinterpret_cast<const void*>(avahi_server_new), &info, &found, RTLD_DL_LINKMAP) == 0)
        return false;
    const link_map& map = *static_cast<const link_map*>(found);
    const std::unique_ptr<void, Close> core(dlopen(map.l_name, RTLD_NOLOAD | RTLD_NOW));
    void* const own = core ? dlsym(core.get(), Contested) : nullptr;
    if (!own)
        return false;
    const ReadOnly readOnly = readOnlyPartOf(map);
    bool isBound = true;
    for (Address* slot : Library(map).slotsOf(Contested))
        isBound = bind(slot, reinterpret_cast<Address>(own), readOnly) && isBound;
    return isBound;
}

// NOLINTEND(performance-no-int-to-ptr)

} // namespace vesk::dnssd
