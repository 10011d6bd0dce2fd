// The built library exports exactly the listed functions, each through a
// 16-byte stub that jumps through its own slot of the export table to an
// implementation inside the library; and the version record.
#include <dlfcn.h>
#include <elf.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zepcv.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <set>
#include <string>
#include <vector>

namespace {

std::vector<std::string> listedExports() {
    std::ifstream in(ZEPCV_EXPORT_LIST);
    std::vector<std::string> names;
    for (std::string line; std::getline(in, line);) {
        line.erase(0, line.find_first_not_of(" \t"));
        line.erase(line.find_last_not_of(" \t\r") + 1);
        if (!line.empty() && line[0] != '#') names.push_back(line.substr(0, line.find_first_of(" \t")));
    }
    return names;
}

// Defined global functions of the library's dynamic symbol table.
std::set<std::string> dynamicFunctions(const char* path) {
    std::set<std::string> out;
    const int fd = open(path, O_RDONLY);
    if (fd < 0) return out;
    struct stat st {};
    fstat(fd, &st);
    void* map = mmap(nullptr, static_cast<size_t>(st.st_size), PROT_READ, MAP_PRIVATE, fd, 0);
    close(fd);
    const auto* base = static_cast<const uint8_t*>(map);
    const auto* eh = reinterpret_cast<const Elf64_Ehdr*>(base);
    const auto* sh = reinterpret_cast<const Elf64_Shdr*>(base + eh->e_shoff);
    for (int i = 0; i < eh->e_shnum; ++i) {
        if (sh[i].sh_type != SHT_DYNSYM) continue;
        const char* strings = reinterpret_cast<const char*>(base + sh[sh[i].sh_link].sh_offset);
        const auto* sym = reinterpret_cast<const Elf64_Sym*>(base + sh[i].sh_offset);
        for (size_t k = 0; k < sh[i].sh_size / sizeof(Elf64_Sym); ++k)
            if (sym[k].st_shndx != SHN_UNDEF && ELF64_ST_TYPE(sym[k].st_info) == STT_FUNC &&
                ELF64_ST_BIND(sym[k].st_info) == STB_GLOBAL)
                out.insert(strings + sym[k].st_name);
    }
    munmap(map, static_cast<size_t>(st.st_size));
    return out;
}

TEST(Exports, DynamicSymbolsAreExactlyTheListInSlotOrder) {
    const std::vector<std::string> names = listedExports();
    ASSERT_FALSE(names.empty());
    EXPECT_TRUE(std::is_sorted(names.begin(), names.end())) << "slot order is the ASCII order of the names";
    EXPECT_EQ(names.front(), "zepcvGetLibVersion");
    const std::set<std::string> listed(names.begin(), names.end());
    EXPECT_EQ(dynamicFunctions(ZEPCV_LIBRARY_FILE), listed);
}

TEST(Exports, EachStubJumpsThroughItsOwnSlotIntoTheLibrary) {
    const std::vector<std::string> names = listedExports();
    void* lib = dlopen(ZEPCV_LIBRARY_FILE, RTLD_NOW | RTLD_NOLOAD);
    ASSERT_NE(lib, nullptr);
    const uint8_t* firstStub = nullptr;
    const uint8_t* firstSlot = nullptr;
    std::set<const void*> targets;
    for (size_t i = 0; i < names.size(); ++i) {
        const auto* stub = static_cast<const uint8_t*>(dlsym(lib, names[i].c_str()));
        ASSERT_NE(stub, nullptr) << names[i];
        // jmp *disp32(%rip): the stub changes no register and pushes nothing.
        ASSERT_EQ(stub[0], 0xFF) << names[i];
        ASSERT_EQ(stub[1], 0x25) << names[i];
        int32_t disp;
        std::memcpy(&disp, stub + 2, 4);
        for (int k = 6; k < 16; ++k) EXPECT_EQ(stub[k], 0xCC) << names[i] << " padding";
        const uint8_t* slot = stub + 6 + disp;
        if (i == 0) firstStub = stub, firstSlot = slot;
        EXPECT_EQ(stub, firstStub + 16 * i) << names[i] << ": stubs are contiguous in slot order";
        EXPECT_EQ(slot, firstSlot + 8 * i) << names[i] << ": stub " << i << " reads slot " << i;
        const void* target;
        std::memcpy(&target, slot, sizeof target);
        Dl_info stubInfo{}, info{};
        ASSERT_NE(dladdr(stub, &stubInfo), 0) << names[i];
        ASSERT_NE(dladdr(target, &info), 0) << names[i];
        EXPECT_EQ(info.dli_fbase, stubInfo.dli_fbase) << names[i] << " must reach code of the library";
        EXPECT_TRUE(static_cast<const uint8_t*>(target) < firstStub ||
                    static_cast<const uint8_t*>(target) >= firstStub + 16 * names.size())
            << names[i] << " must reach an implementation, not a stub";
        targets.insert(target);
    }
    EXPECT_EQ(targets.size(), names.size()) << "one implementation per export";
}

TEST(Version, RecordAndStrings) {
    const LibraryVersion* v = zepcvGetLibVersion();
    ASSERT_NE(v, nullptr);
    EXPECT_EQ(v, zepcvGetLibVersion());
    EXPECT_EQ(v->versionMajor, 2017);
    EXPECT_EQ(v->versionMinor, 0);
    EXPECT_EQ(v->versionUpdate, 3);
    EXPECT_EQ(std::memcmp(v->variantCode, "q7\0\0", 4), 0);
    const std::string name = v->nameString;
#if ZEPCV_EMULATE_AVX512
    EXPECT_EQ(name, "zepCV AVX512F/AVX512CD/AVX512BW/AVX512DQ/AVX512VL emulated on x86-64-v3 (q7)");
#else
    EXPECT_EQ(name, "zepCV AVX512F/AVX512CD/AVX512BW/AVX512DQ/AVX512VL (q7)");
#endif
    EXPECT_EQ(std::string(v->versionString), "2017.0.3 (r" + std::to_string(v->revision) + ")");
    EXPECT_STREQ(v->buildDateString, "Apr 12 2017");
}

}  // namespace
