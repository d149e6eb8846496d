// Runs Varn504.dll in a 32-bit Linux process: maps its sections as the
// Windows loader does, applies the base relocations, binds its imports to C
// library functions with the Windows runtime's meaning (refusing any other
// import), calls the entry point for process attach and detach, and drives
// the eighteen exports through the checks of drive.cpp.
// Usage: varn-peload Varn504.dll [bench depth] [stops]
#include <strings.h>
#include <sys/mman.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "drive.h"

static_assert(sizeof(void *) == 4, "the loader runs 32-bit code");

namespace {

// The parts of the PE format the loader reads.
struct DataDirectory {
  uint32_t rva, size;
};
struct FileHeader {
  uint16_t machine, sectionCount;
  uint32_t timeStamp, symbolTable, symbolCount;
  uint16_t optionalSize, characteristics;
};
struct OptionalHeader {
  uint16_t magic;
  uint8_t linkerMajor, linkerMinor;
  uint32_t codeSize, dataSize, bssSize, entry, codeBase, dataBase, imageBase, sectionAlignment, fileAlignment;
  uint16_t versions[6];
  uint32_t win32Version, imageSize, headersSize, checksum;
  uint16_t subsystem, dllCharacteristics;
  uint32_t stackReserve, stackCommit, heapReserve, heapCommit, loaderFlags, directoryCount;
  DataDirectory directories[16];
};
struct SectionHeader {
  char name[8];
  uint32_t virtualSize, rva, rawSize, rawOffset, relocations, lineNumbers;
  uint16_t relocationCount, lineNumberCount;
  uint32_t characteristics;
};
struct ImportDescriptor {
  uint32_t nameTable, timeStamp, forwarderChain, dllName, addressTable;
};
struct ExportDirectory {
  uint32_t characteristics, timeStamp;
  uint16_t major, minor;
  uint32_t name, ordinalBase, functionCount, nameCount, functions, names, nameOrdinals;
};
static_assert(sizeof(FileHeader) == 20 && sizeof(OptionalHeader) == 224 && sizeof(SectionHeader) == 40);
static_assert(sizeof(ImportDescriptor) == 20 && sizeof(ExportDirectory) == 40);
enum { ExportTable = 0, ImportTable = 1, RelocationTable = 5, TlsTable = 9 };
enum : uint32_t { SectionExecute = 0x20000000, SectionRead = 0x40000000, SectionWrite = 0x80000000 };
enum : uint32_t { ProcessDetach = 0, ProcessAttach = 1 };

// The C runtime as msvcrt.dll gives it, counting the heap blocks the DLL holds.
std::mutex HeapLock;
std::unordered_map<void *, size_t> LiveBlocks;
int64_t LiveBytes;
timespec ProcessStart;

void *Track(void *block, size_t bytes) {
  if (!block) return block;
  std::lock_guard<std::mutex> lock(HeapLock);
  LiveBlocks[block] = bytes;
  LiveBytes += int64_t(bytes);
  return block;
}
void *CrtMalloc(size_t bytes) { return Track(std::malloc(bytes), bytes); }
void *CrtCalloc(size_t count, size_t size) {
  if (size && count > SIZE_MAX / size) return nullptr;
  return Track(std::calloc(count, size), count * size);
}
void CrtFree(void *block) {
  if (!block) return;
  {
    std::lock_guard<std::mutex> lock(HeapLock);
    auto held = LiveBlocks.find(block);
    if (held == LiveBlocks.end()) {
      std::printf("FAIL the DLL frees %p, which it never allocated\n", block);
      std::exit(1);
    }
    LiveBytes -= int64_t(held->second);
    LiveBlocks.erase(held);
  }
  std::free(block);
}
HeapCount Heap() {
  std::lock_guard<std::mutex> lock(HeapLock);
  return {int64_t(LiveBlocks.size()), LiveBytes};
}
// msvcrt's clock() is wall-clock milliseconds since the process started;
// glibc's counts processor time in microseconds.
long CrtClock() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return long((now.tv_sec - ProcessStart.tv_sec) * 1000 + (now.tv_nsec - ProcessStart.tv_nsec) / 1000000);
}
void *CrtMemcpy(void *to, const void *from, size_t bytes) { return std::memcpy(to, from, bytes); }
void *CrtMemmove(void *to, const void *from, size_t bytes) { return std::memmove(to, from, bytes); }
void *CrtMemset(void *to, int value, size_t bytes) { return std::memset(to, value, bytes); }
int CrtStrcmp(const char *a, const char *b) { return std::strcmp(a, b); }
size_t CrtStrlen(const char *text) { return std::strlen(text); }

// KERNEL32 functions are stdcall.
void *DeclinedModule;
__attribute__((stdcall)) int DisableThreadLibraryCalls(void *module) {
  DeclinedModule = module;
  return 1;
}

// Every import the loader knows: the list in scripts/windows-imports.txt.
struct Import {
  const char *dll, *name;
  const void *address;
};
const Import Imports[] = {
    {"KERNEL32.dll", "DisableThreadLibraryCalls", reinterpret_cast<const void *>(DisableThreadLibraryCalls)},
    {"msvcrt.dll", "calloc", reinterpret_cast<const void *>(CrtCalloc)},
    {"msvcrt.dll", "clock", reinterpret_cast<const void *>(CrtClock)},
    {"msvcrt.dll", "free", reinterpret_cast<const void *>(CrtFree)},
    {"msvcrt.dll", "malloc", reinterpret_cast<const void *>(CrtMalloc)},
    {"msvcrt.dll", "memcpy", reinterpret_cast<const void *>(CrtMemcpy)},
    {"msvcrt.dll", "memmove", reinterpret_cast<const void *>(CrtMemmove)},
    {"msvcrt.dll", "memset", reinterpret_cast<const void *>(CrtMemset)},
    {"msvcrt.dll", "strcmp", reinterpret_cast<const void *>(CrtStrcmp)},
    {"msvcrt.dll", "strlen", reinterpret_cast<const void *>(CrtStrlen)},
};

bool Refuse(const char *why, const char *what = "") {
  std::printf("FAIL %s%s\n", why, what);
  return false;
}

// The image mapped at its own address, with what the checks need from it.
struct Image {
  std::vector<uint8_t> file;
  uint8_t *base = nullptr;
  const OptionalHeader *header = nullptr;

  template <typename T>
  T *At(uint32_t rva) const { return reinterpret_cast<T *>(base + rva); }
  bool Inside(uint32_t rva, uint32_t bytes) const { return rva <= header->imageSize && bytes <= header->imageSize - rva; }
};

bool ReadFile(const char *path, std::vector<uint8_t> &bytes) {
  FILE *file = std::fopen(path, "rb");
  if (!file) return false;
  std::fseek(file, 0, SEEK_END);
  bytes.resize(size_t(std::ftell(file)));
  std::fseek(file, 0, SEEK_SET);
  const bool read = std::fread(bytes.data(), 1, bytes.size(), file) == bytes.size();
  std::fclose(file);
  return read;
}

// Headers and sections copied to a fresh mapping; the pages keep write
// access until the relocations and imports are in place.
bool MapSections(Image &image, std::vector<SectionHeader> &sections) {
  const std::vector<uint8_t> &file = image.file;
  if (file.size() < 0x40 || file[0] != 'M' || file[1] != 'Z') return Refuse("not an MZ image");
  uint32_t pe;
  std::memcpy(&pe, &file[0x3c], 4);
  if (pe + 24 + sizeof(OptionalHeader) > file.size() || std::memcmp(&file[pe], "PE\0\0", 4) != 0)
    return Refuse("no PE header");
  FileHeader fh;
  std::memcpy(&fh, &file[pe + 4], sizeof fh);
  const auto *header = reinterpret_cast<const OptionalHeader *>(&file[pe + 24]);
  if (fh.machine != 0x14c || !(fh.characteristics & 0x2000) || header->magic != 0x10b || header->directoryCount < 16)
    return Refuse("not a 32-bit x86 DLL");
  const size_t table = pe + 24 + fh.optionalSize;
  if (table + fh.sectionCount * sizeof(SectionHeader) > file.size() || header->headersSize > file.size() ||
      header->headersSize > header->imageSize)
    return Refuse("section table beyond the file");
  sections.resize(fh.sectionCount);
  std::memcpy(sections.data(), &file[table], sections.size() * sizeof(SectionHeader));

  void *mapping = mmap(nullptr, header->imageSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (mapping == MAP_FAILED) return Refuse("no memory for the image");
  image.base = static_cast<uint8_t *>(mapping);
  std::memcpy(image.base, file.data(), header->headersSize);
  image.header = image.At<const OptionalHeader>(pe + 24);
  for (const SectionHeader &s : sections) {
    const uint32_t bytes = std::min(s.rawSize, s.virtualSize ? s.virtualSize : s.rawSize);
    if (!image.Inside(s.rva, std::max(s.virtualSize, bytes)) || s.rawOffset > file.size() ||
        bytes > file.size() - s.rawOffset)
      return Refuse("section outside the image: ", std::string(s.name, strnlen(s.name, 8)).c_str());
    std::memcpy(image.base + s.rva, &file[s.rawOffset], bytes);
  }
  return true;
}

// Adds the distance from the preferred base to every address the image holds.
bool Relocate(Image &image, int &fixups) {
  const DataDirectory &table = image.header->directories[RelocationTable];
  const uint32_t delta = uint32_t(reinterpret_cast<uintptr_t>(image.base)) - image.header->imageBase;
  if (!image.Inside(table.rva, table.size)) return Refuse("relocations outside the image");
  if (delta && !table.size) return Refuse("no relocations, and the preferred base is taken");
  for (uint32_t at = table.rva; at + 8 <= table.rva + table.size;) {
    const uint32_t page = *image.At<uint32_t>(at), blockSize = *image.At<uint32_t>(at + 4);
    if (blockSize < 8 || at + blockSize > table.rva + table.size) return Refuse("malformed relocation block");
    for (uint32_t entry = at + 8; entry + 2 <= at + blockSize; entry += 2) {
      const uint16_t word = *image.At<uint16_t>(entry);
      const uint32_t type = word >> 12, rva = page + (word & 0xfff);
      if (type == 0) continue;  // padding
      if (type != 3 || !image.Inside(rva, 4)) return Refuse("relocation of a kind a 32-bit image does not use");
      *image.At<uint32_t>(rva) += delta;
      ++fixups;
    }
    at += blockSize;
  }
  return true;
}

// Fills the import address table from Imports; anything else is refused.
bool BindImports(Image &image) {
  const DataDirectory &table = image.header->directories[ImportTable];
  if (!image.Inside(table.rva, table.size)) return Refuse("imports outside the image");
  for (auto *d = image.At<ImportDescriptor>(table.rva); d->dllName; ++d) {
    const char *dll = image.At<const char>(d->dllName);
    auto *names = image.At<uint32_t>(d->nameTable ? d->nameTable : d->addressTable);
    auto *addresses = image.At<uint32_t>(d->addressTable);
    for (; *names; ++names, ++addresses) {
      if (*names & 0x80000000) return Refuse("import by ordinal from ", dll);
      const char *name = image.At<const char>(*names + 2);
      const Import *known = nullptr;
      for (const Import &i : Imports)
        if (strcasecmp(i.dll, dll) == 0 && std::strcmp(i.name, name) == 0) known = &i;
      if (!known) return Refuse("unknown import ", (std::string(dll) + " " + name).c_str());
      *addresses = uint32_t(reinterpret_cast<uintptr_t>(known->address));
      std::printf("     import %s %s\n", dll, name);
    }
  }
  if (image.header->directories[TlsTable].size) return Refuse("the DLL has thread-local storage callbacks");
  return true;
}

// Each section gets the access its flags ask for; headers are read-only.
void Protect(const Image &image, const std::vector<SectionHeader> &sections) {
  mprotect(image.base, image.header->headersSize, PROT_READ);
  const uint32_t page = image.header->sectionAlignment;
  for (const SectionHeader &s : sections) {
    const int access = (s.characteristics & SectionRead ? PROT_READ : 0) |
                       (s.characteristics & SectionWrite ? PROT_WRITE : 0) |
                       (s.characteristics & SectionExecute ? PROT_EXEC : 0);
    mprotect(image.base + s.rva, (std::max(s.virtualSize, s.rawSize) + page - 1) / page * page, access);
  }
}

// The address the export table gives for an ordinal, or null.
const void *ByOrdinal(const Image &image, uint32_t ordinal) {
  const auto *e = image.At<const ExportDirectory>(image.header->directories[ExportTable].rva);
  if (ordinal < e->ordinalBase || ordinal - e->ordinalBase >= e->functionCount) return nullptr;
  return image.base + image.At<const uint32_t>(e->functions)[ordinal - e->ordinalBase];
}

// The address the export table gives for a name, or null.
const void *ByName(const Image &image, const char *name) {
  const auto *e = image.At<const ExportDirectory>(image.header->directories[ExportTable].rva);
  for (uint32_t i = 0; i < e->nameCount; ++i)
    if (std::strcmp(image.At<const char>(image.At<const uint32_t>(e->names)[i]), name) == 0)
      return ByOrdinal(image, e->ordinalBase + image.At<const uint16_t>(e->nameOrdinals)[i]);
  return nullptr;
}

// The eighteen exports by name, each also at its ordinal, and nothing else.
bool FindExports(const Image &image, VarnExports &varn) {
  const auto *e = image.At<const ExportDirectory>(image.header->directories[ExportTable].rva);
  uint32_t ordinal = 0;
  bool found = e->functionCount == 18 && e->nameCount == 18;
#define VARN_FIND(name, result, parameters)                                          \
  varn.name = reinterpret_cast<Varn##name##Fn>(ByName(image, "Varn" #name));          \
  found = found && varn.name && reinterpret_cast<const void *>(varn.name) == ByOrdinal(image, ++ordinal);
  VARN_EXPORTS(VARN_FIND)
#undef VARN_FIND
  std::printf("%s the eighteen exports by name, each at its ordinal 1-18, and no others\n", found ? "ok  " : "FAIL");
  return found;
}

// The entry point as the Windows loader calls it (stdcall, three words).
int CallEntry(const Image &image, uint32_t reason, const char *what) {
  const uint32_t words[] = {uint32_t(reinterpret_cast<uintptr_t>(image.base)), reason, 0};
  int32_t popped = 0;
  uint32_t clobbered = 0;
  const uint32_t result = CallMisaligned(image.base + image.header->entry, words, 3, &popped, &clobbered);
  const bool ok = result == 1 && popped == 12 && !clobbered;
  std::printf("%s entry point, %s: returns %u, removes %d bytes of arguments\n", ok ? "ok  " : "FAIL", what, result,
              popped);
  return ok ? 0 : 1;
}

}  // namespace

int main(int argc, char **argv) {
  clock_gettime(CLOCK_MONOTONIC, &ProcessStart);
  DriveOptions options;
  if (argc > 2) options.benchDepth = std::atoi(argv[2]);
  if (argc > 3) options.stops = std::atoi(argv[3]);
  options.heap = Heap;
  Image image;
  std::vector<SectionHeader> sections;
  int fixups = 0;
  if (argc < 2 || !ReadFile(argv[1], image.file)) {
    std::fprintf(stderr, "usage: varn-peload Varn504.dll [bench depth] [stops]\n");
    return 2;
  }
  if (!MapSections(image, sections) || !Relocate(image, fixups) || !BindImports(image)) return 1;
  Protect(image, sections);
  std::printf("ok   mapped %zu sections at 0x%08x (preferred 0x%08x), %d relocations applied\n", sections.size(),
              unsigned(reinterpret_cast<uintptr_t>(image.base)), image.header->imageBase, fixups);
  VarnExports varn;
  if (!FindExports(image, varn)) return 1;

  int failures = CallEntry(image, ProcessAttach, "process attach");
  if (DeclinedModule != image.base) {
    std::printf("FAIL the entry point did not decline thread notifications for its module\n");
    ++failures;
  }
  failures += DriveLibrary(varn, options);
  failures += CallEntry(image, ProcessDetach, "process detach");
  std::printf("%d failed\n", failures);
  return failures ? 1 : 0;
}
