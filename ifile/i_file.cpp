// The container: primitives, record frame, header, sections.

#include "ifile/i_file.h"

#include "DIAG/abort.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <unistd.h>

static const char ICODE_MAGIC[] = "!<icode>\n";

constexpr int STREAM_BUFFER = 32768;
constexpr int COPY_BUFFER = 8192;
constexpr unsigned long RECORD_BUFFER = 32768; // and the step of its growth

IF_NODE_INFO if_node_info[FIRST_MEMORY_OP];

void if_die(const char* message) {
  fprintf(stderr, "%s\n", message);
  end_failing_run();
}

void if_enter_node(int code, const char* name, int operands) {
  if (code < 0 || code >= 201) if_die("\nINTERNAL ERROR: Invalid opcode, aborting");
  if (code < FIRST_MEMORY_OP) if_node_info[code] = {code, name, operands};
}

void if_node_table_init() {
  static std::once_flag filled;
  std::call_once(filled, [] {
    for (int op = 0; op < FIRST_MEMORY_OP; op++)
      if (const OPERATOR_ROW& row = operator_rows[op]; row.name)
        if_enter_node(op, row.name, row.operands);
  });
}

// ---------------------------------------------------------------------------------------------
// Opening and closing

// Is it the header's tag, a length of up to five bytes, and the magic text? Gives the length, and
// where what it counts begins. By hand, so that a file of another kind is rejected and does not
// die.
static bool begins_with_magic(const std::vector<unsigned char>& bytes, size_t& at, size_t& length) {
  if (bytes.empty() || bytes[0] != TAG_HEADER) return false;
  at = 1;
  length = 0;
  for (int shift = 0;; shift += 7) {
    if (at >= bytes.size() || shift > 28) return false;
    const unsigned b = bytes[at++];
    length |= static_cast<size_t>(b & 0x7F) << shift;
    if (!(b & 0x80)) break;
  }
  return bytes.size() - at >= sizeof ICODE_MAGIC &&
         memcmp(bytes.data() + at, ICODE_MAGIC, sizeof ICODE_MAGIC) == 0;
}

I_FILE* I_FILE::if_open(FILE* fp, IF_CLIENT* client) {
  if_node_table_init();
  auto* file = new I_FILE;
  file->fp = fp;
  file->client = client;
  setvbuf(fp, nullptr, _IOFBF, STREAM_BUFFER);
  file->base = ftell(fp);
  unsigned char chunk[STREAM_BUFFER];
  while (size_t n = fread(chunk, 1, sizeof chunk, fp)) {
    const bool is_first = file->bytes.empty();
    file->bytes.insert(file->bytes.end(), chunk, chunk + n);
    size_t at, length;
    if (is_first && !begins_with_magic(file->bytes, at, length))
      break; // no reason to read on, maybe without end
  }
  file->file_size = file->bytes.size();

  if (!file->read_magic()) {
    file->fp = nullptr; // a rejected header leaves the stream to its owner
    delete file;
    return nullptr;
  }
  client->cl_source(file->source_name.c_str());
  file->read_options();
  return file;
}

bool I_FILE::read_magic() {
  const unsigned long magic_len = sizeof ICODE_MAGIC;
  size_t length;
  if (!begins_with_magic(bytes, pos, length)) return false;
  if (length > bytes_left() || length < magic_len + 4 + 20 + 1) return false;
  const unsigned long header_end = pos + length;
  if (!memchr(&bytes[pos + magic_len + 24], 0, length - magic_len - 24)) return false;
  int tag, len;
  pos = 0;
  i_read_header(tag, len);
  pos += magic_len;
  version = i_read_s16();
  int cpu = i_read_s16();
  if ((cpu & 0xFFFF) != ICODE_CPU_ID) return false;
  if (version < OLDEST_ICODE_VERSION || version > ICODE_VERSION) return false;
  options_off = i_read_u32();
  init_off = i_read_u32();
  types_off = i_read_u32();
  files_off = i_read_u32();
  globals_off = i_read_u32();
  if (!if_read_source(header_end)) return false;
  pos = header_end;
  return client->cl_magic(version, cpu);
}

// The end of the header: the source file's name and, in the versions that have it, the extra word.
// False if they don't fit.
bool I_FILE::if_read_source(unsigned long header_end) {
  source_name = i_read_string();
  if (version < -83) return pos <= header_end;
  if (pos + 4 > header_end) return false;
  extra_word = i_read_u32();
  return true;
}

I_FILE* I_FILE::if_create(FILE* fp, TYPE_PKG* tp, const char* source, uint32_t extra_word) {
  if_node_table_init();
  auto* file = new I_FILE;
  file->fp = fp;
  file->writing = true;
  file->tp = tp;
  file->source_name = source ? source : "";
  file->extra_word = extra_word;
  setvbuf(fp, nullptr, _IOFBF, STREAM_BUFFER);
  file->base = ftell(fp);
  file->begin_record();
  file->write_header();
  return file;
}

void I_FILE::write_header() {
  i_write_string(ICODE_MAGIC);
  i_write_i16(ICODE_VERSION);
  i_write_i16(ICODE_CPU_ID);
  for (uint32_t offset : {options_off, init_off, types_off, files_off, globals_off})
    i_write_i32(static_cast<int>(offset));
  i_write_string(source_name.c_str());
  i_write_i32(static_cast<int>(extra_word));
  i_flush(TAG_HEADER);
}

int I_FILE::if_close(bool named_types_too, bool abandon) {
  bool failed = false;
  if (writing && !abandon) {
    i_write_eof();
    if (!option_sets.empty()) {
      options_off = static_cast<uint32_t>(written);
      for (OPTION_SET* set : option_sets) {
        i_write_uint(set->number);
        i_write_uint(set->strings.size());
        for (const std::string& s : set->strings)
          i_write_string(s.c_str());
        i_flush(TAG_OPTION_SET);
      }
      i_write_eof();
    }
    if_write_all_types(named_types_too);
    if (!file_names.empty()) {
      files_off = static_cast<uint32_t>(written);
      for (const char* name : file_names) {
        i_write_string(name);
        i_flush(TAG_FILE_NAME);
      }
      i_write_eof();
    }
    if_write_all_globals();
    write_out();
    failed = written > 0xFFFFFFFFul || fseek(fp, base, SEEK_SET) != 0;
    write_header();
    write_out();
  }
  for (OPTION_SET* set : option_sets)
    delete set;
  option_sets.clear();
  types.clear();
  types_by_number.clear();
  file_names.clear();
  locals.clear();
  globals.clear();
  bytes = {};
  free(buf);
  buf = nullptr;
  buf_size = buf_next = record_start = 0;
  if (fp) {
    failed |= fflush(fp) != 0 && writing;
    failed |= ferror(fp) != 0;
    failed |= fclose(fp) != 0;
    fp = nullptr;
  }
  if (failed && write_errno) errno = write_errno;
  return failed ? 1 : 0;
}

I_FILE::~I_FILE() {
  for (OPTION_SET* set : option_sets)
    delete set;
  free(buf);
  if (fp) fclose(fp);
}

// ---------------------------------------------------------------------------------------------
// Positions

unsigned long I_FILE::if_tell() const {
  return writing ? written : pos;
}

void I_FILE::if_seek(unsigned long offset) {
  if (offset > file_size) if_die(INVALID_RECORD);
  pos = offset;
}

void I_FILE::if_flush() {
  if (writing) write_out();
  fflush(fp);
}

void I_FILE::need(unsigned long n) const {
  if (n > bytes_left()) if_die(INVALID_RECORD);
}

void I_FILE::if_copy_raw(unsigned long offset, unsigned long length, I_FILE* from) {
  if (offset > from->file_size || length > from->file_size - offset) if_die(INVALID_RECORD);
  while (length) {
    unsigned long n = length < COPY_BUFFER ? length : COPY_BUFFER;
    put_bytes(&from->bytes[offset], n);
    offset += n;
    length -= n;
  }
}

// ---------------------------------------------------------------------------------------------
// Primitive readers

int I_FILE::get_byte() {
  if (pos < file_size) return bytes[pos++];
  // A reader that keeps asking behind the end is in a damaged record.
  if (++eof_reads > 64) if_die(INVALID_RECORD);
  return -1;
}

void I_FILE::i_read_header(int& tag, int& len) {
  tag = get_byte() & 0xFF;
  len = 0;
  if (tag == TAG_EOF) return;
  unsigned long length = i_read_uint();
  if (length > bytes_left() || length > INT32_MAX) if_die(INVALID_RECORD);
  len = static_cast<int>(length);
  record_end = pos + length;
}

void I_FILE::end_record() {
  if (pos > record_end) if_die(INVALID_RECORD);
  pos = record_end;
}

unsigned I_FILE::i_read_u8() {
  return static_cast<unsigned>(get_byte()) & 0xFF;
}
int I_FILE::i_read_s8() {
  return static_cast<signed char>(get_byte());
}
bool I_FILE::i_read_bool() {
  return get_byte() != 0;
}

unsigned I_FILE::i_read_u16() {
  unsigned low = i_read_u8();
  return low | i_read_u8() << 8;
}

int I_FILE::i_read_s16() {
  return static_cast<int16_t>(i_read_u16());
}

uint32_t I_FILE::i_read_u32() {
  uint32_t low = i_read_u16();
  return low | static_cast<uint32_t>(i_read_u16()) << 16;
}

int32_t I_FILE::i_read_s32() {
  return static_cast<int32_t>(i_read_u32());
}

unsigned long I_FILE::i_read_uint() {
  if (pos < file_size && bytes[pos] < 0x80) return bytes[pos++]; // most are short
  unsigned long value = 0;
  for (int shift = 0;; shift += 7) {
    if (shift > 63) if_die(INVALID_RECORD);
    unsigned b = i_read_u8();
    value |= static_cast<unsigned long>(b & 0x7F) << shift;
    if (!(b & 0x80)) return value;
  }
}

long I_FILE::i_read_wide_sint() {
  unsigned long value = 0;
  int bits = 0;
  unsigned b;
  do {
    if (bits > 63) if_die(INVALID_RECORD);
    b = i_read_u8();
    value |= static_cast<unsigned long>(b & 0x7F) << bits;
    bits += 7;
  } while (b & 0x80);
  if (bits < 64 && b & 0x40) value |= ~0ul << bits;
  return static_cast<long>(value);
}

uint32_t I_FILE::i_read_uint32() {
  const unsigned long value = i_read_uint();
  if (value > UINT32_MAX) if_die(INVALID_RECORD);
  return static_cast<uint32_t>(value);
}

// The sign that the wide form puts above bit 31 goes with the other bits there.
int32_t I_FILE::i_read_sint() {
  return static_cast<int32_t>(i_read_wide_sint());
}

char* I_FILE::i_read_string(int n) {
  const void* zero;
  unsigned long length;
  if (n >= 0) {
    need(n);
    length = n;
  } else {
    zero = bytes_left() ? memchr(&bytes[pos], 0, bytes_left()) : nullptr;
    if (!zero) if_die(INVALID_RECORD);
    length = static_cast<const unsigned char*>(zero) - &bytes[pos];
  }
  if (text_buffer.size() < STREAM_BUFFER) text_buffer.resize(STREAM_BUFFER);
  if (text_buffer.size() <= length) text_buffer.resize(length + 1);
  if (length) memcpy(text_buffer.data(), &bytes[pos], length);
  text_buffer[length] = 0;
  pos += length + (n < 0 ? 1 : 0);
  return text_buffer.data();
}

void I_FILE::i_read_raw(char* to, int n) {
  need(n);
  memcpy(to, &bytes[pos], n);
  pos += n;
}

PSN* I_FILE::i_read_psn() {
  unsigned long file = i_read_uint();
  if (file == 0) return nullptr;
  const unsigned line = i_read_uint32();
  const unsigned column = i_read_uint32();
  // A file that has no name in the table keeps its line and column.
  const char* name = file <= file_names.size() ? file_names[file - 1] : nullptr;
  return make_psn(name, line, column);
}

void I_FILE::i_read_skip(int n) {
  need(n);
  pos += n;
}

// ---------------------------------------------------------------------------------------------
// Primitive writers

void I_FILE::put_bytes(const void* p, unsigned long n) {
  buf_next = record_start;
  append(static_cast<const char*>(p), n);
  written += n;
  begin_record();
}

constexpr unsigned long SHORT_HEAD = 2; // tag and length of a record of less than 128 bytes

void I_FILE::begin_record() {
  record_start = buf_next;
  if (buf_next >= RECORD_BUFFER) return write_out(); // which begins the record
  if (SHORT_HEAD > buf_size - buf_next) grow_buf(SHORT_HEAD);
  buf_next += SHORT_HEAD;
}

// Hands the finished records to the stream. Not within a record.
void I_FILE::write_out() {
  // A failure shows in the stream's error indicator, which if_close reports.
  if (record_start && fwrite(buf, 1, record_start, fp) != record_start && !write_errno)
    write_errno = errno;
  buf_next = record_start = 0;
  begin_record();
}

// Makes room for n more bytes of the record.
void I_FILE::grow_buf(unsigned long n) {
  const unsigned long steps = (buf_next + n + RECORD_BUFFER - 1) / RECORD_BUFFER;
  void* grown = realloc(buf, steps * RECORD_BUFFER);
  if (!grown) if_die(">> ICODE Buffer size exceeded and realloc failed");
  buf = static_cast<unsigned char*>(grown);
  buf_size = steps * RECORD_BUFFER;
}

void I_FILE::append(const char* p, unsigned long n) {
  if (n == 0) return;
  if (n > buf_size - buf_next) grow_buf(n);
  memcpy(buf + buf_next, p, n);
  buf_next += n;
}

void I_FILE::i_write_raw(const char* p, int n) {
  append(p, static_cast<unsigned long>(n));
}

void I_FILE::i_write_i8(int v) {
  if (buf_next == buf_size) grow_buf(1);
  buf[buf_next++] = static_cast<unsigned char>(v);
}
void I_FILE::i_write_bool(bool v) {
  i_write_i8(v);
}

void I_FILE::i_write_i16(int v) {
  if (v < -32768 || v > 65535) if_die(">> Value exceeds size of short");
  i_write_i8(v);
  i_write_i8(v >> 8);
}

void I_FILE::i_write_i32(int v) {
  for (int shift = 0; shift < 32; shift += 8)
    i_write_i8(v >> shift);
}

void I_FILE::i_write_uint(unsigned long v) {
  if (buf_size - buf_next < 10) grow_buf(10);
  while (v >= 0x80) {
    buf[buf_next++] = static_cast<unsigned char>(v | 0x80);
    v >>= 7;
  }
  buf[buf_next++] = static_cast<unsigned char>(v);
}

void I_FILE::i_write_sint(long v) {
  for (;;) {
    unsigned char b = v & 0x7F;
    v >>= 7;
    bool last = (v == 0 && !(b & 0x40)) || (v == -1 && (b & 0x40));
    i_write_i8(last ? b : b | 0x80);
    if (last) return;
  }
}

void I_FILE::i_write_string(const char* text, int n) {
  if (n >= 0)
    i_write_raw(text, n);
  else
    append(text, strlen(text) + 1);
}

void I_FILE::i_write_psn(PSN* psn) {
  if (!psn) {
    i_write_uint(0);
    return;
  }
  i_write_uint(i_enter_file_name(psn->file));
  i_write_uint(psn->line);
  i_write_uint(psn->column);
}

void I_FILE::i_flush(int tag) {
  const unsigned long payload = record_start + SHORT_HEAD;
  const unsigned long length = buf_next - payload;
  unsigned long more = 0; // bytes of the length beyond the first
  for (unsigned long rest = length >> 7; rest; rest >>= 7)
    more++;
  if (more) {
    if (more > buf_size - buf_next) grow_buf(more);
    memmove(buf + payload + more, buf + payload, length);
    buf_next += more;
  }
  unsigned char* head = buf + record_start;
  *head++ = static_cast<unsigned char>(tag);
  unsigned long rest = length;
  for (; rest >= 0x80; rest >>= 7)
    *head++ = static_cast<unsigned char>(rest | 0x80);
  *head = static_cast<unsigned char>(rest);
  written += buf_next - record_start;
  begin_record();
}

void I_FILE::i_write_eof() {
  unsigned char tag = TAG_EOF;
  put_bytes(&tag, 1);
}

// ---------------------------------------------------------------------------------------------
// Tables and sections

unsigned I_FILE::i_enter_file_name(const char* name) {
  const char* text = intern_text(name ? name : "NO_FILE");
  const auto next_number = static_cast<unsigned>(file_names.size() + 1);
  if (writing) {
    auto [place, is_new] = file_numbers.emplace(text, next_number);
    if (!is_new) return place->second;
  }
  file_names.push_back(text);
  return next_number;
}

void I_FILE::if_enter_option_set(const OPTION_SET& set) {
  option_sets.push_back(new OPTION_SET(set));
}

void I_FILE::if_enter_option_set(unsigned number, unsigned count, char** strings) {
  option_sets.push_back(new OPTION_SET{number, {strings, strings + count}});
}

void I_FILE::read_section(uint32_t offset, bool (I_FILE::*read_one)(int tag, int len)) {
  if (offset == 0) return;
  const unsigned long back = pos;
  if_seek(offset);
  for (;;) {
    int tag, len;
    i_read_header(tag, len);
    if (tag == TAG_EOF || !(this->*read_one)(tag, len)) break;
  }
  pos = back;
}

void I_FILE::read_options() {
  if (options_off == 0) return;
  const unsigned long back = pos;
  if_seek(options_off);
  for (;;) {
    int tag, len;
    i_read_header(tag, len);
    if (tag == TAG_EOF) break;
    if (tag != TAG_OPTION_SET) if_die(INVALID_RECORD);
    auto* set = new OPTION_SET;
    option_sets.push_back(set);
    set->number = i_read_uint32();
    unsigned long count = i_read_uint();
    need(count); // a string takes a byte at least
    for (; count; count--)
      set->strings.emplace_back(i_read_string());
    end_record();
  }
  pos = back;
}

bool I_FILE::read_file_name(int tag, int) {
  if (tag != TAG_FILE_NAME) return false;
  i_enter_file_name(i_read_string());
  end_record();
  return true;
}

bool I_FILE::read_type_record(int tag, int len) {
  if (tag != TAG_TYPE) if_die(INVALID_RECORD);
  if_read_type(len);
  end_record();
  return true;
}

bool I_FILE::read_global(int tag, int) {
  if (tag == TAG_PRAGMA)
    if_die("\nINTERNAL ERROR: Pragma without a symbol among the globals of I-code, aborting");
  if (tag != TAG_SYMBOL) if_die(INVALID_RECORD);
  if_read_symbol_def();
  return true;
}

bool I_FILE::read_initialiser(int tag, int) {
  if (tag != TAG_INIT) if_die(INVALID_RECORD);
  if_read_init();
  return true;
}

void I_FILE::if_read_types() {
  read_section(types_off, &I_FILE::read_type_record);
  check_types();
}

void I_FILE::if_read_file() {
  const unsigned long body = pos;
  read_section(files_off, &I_FILE::read_file_name);
  if_read_types();
  client->cl_merge_type_defs();
  level = 0;
  read_section(globals_off, &I_FILE::read_global);
  read_section(init_off, &I_FILE::read_initialiser);
  client->cl_preprocess_statics();
  pos = body;
  while (if_read_record()) {
  }
  if (level != 0) if_die(INVALID_RECORD); // cut within a function
}

void I_FILE::if_read_func(unsigned long offset) {
  if (offset) if_seek(offset);
  for (bool more = true; more;) {
    more = pos < file_size && bytes[pos] != TAG_END_FUNC;
    if (!if_read_record()) return;
  }
}

void I_FILE::if_skip_func() {
  for (;;) {
    int tag, len;
    i_read_header(tag, len);
    if (tag == TAG_EOF) return;
    i_read_skip(len);
    if (tag == TAG_END_FUNC) return;
  }
}

bool I_FILE::if_check_lengths() {
  const unsigned long back = pos;
  unsigned long at = 0, previous_at = 0;
  int tag = 0, previous_tag = 0;
  unsigned long length = 0, previous_length = 0;
  bool good = true;
  for (pos = 0; pos < file_size;) {
    previous_at = at, previous_tag = tag, previous_length = length;
    at = pos;
    tag = bytes[pos++];
    length = 0;
    if (tag == TAG_EOF) continue;
    // By hand: a length that makes no sense is what is looked for.
    bool has_length = false;
    for (int shift = 0; !has_length && shift <= 63 && pos < file_size; shift += 7) {
      const unsigned b = bytes[pos++];
      length |= static_cast<unsigned long>(b & 0x7F) << shift;
      has_length = !(b & 0x80);
    }
    if (!has_length || length > bytes_left()) {
      printf(">>I-file error:@%d,id=%d,sz=%d,prev [@%d,id=%d,sz=%d]\n", static_cast<int>(at), tag,
             static_cast<int>(length), static_cast<int>(previous_at), previous_tag,
             static_cast<int>(previous_length));
      good = false;
      break;
    }
    pos += length;
  }
  pos = back;
  return good;
}
