// The package: life, sharing, makers.
//
// Every type hangs in the list of the type it sits on (the package's void for those that sit on
// none), under a map name that spells out its whole shape but the base. So a twin is found by one
// look-up, however many types share a base.
#include "TYPES/type_pkg.h"

#include "DIAG/abort.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <mutex>

int TYPE_PKG::tp_count;
TYPE* TYPE_PKG::root_type;
bool TYPE_PKG::seen_enum_type, TYPE_PKG::seen_small_enums, TYPE_PKG::seen_bitfield,
    TYPE_PKG::flat_memory_model, TYPE_PKG::byte_mode, TYPE_PKG::large_code_model;
int TYPE_PKG::cpu_version;
int TYPE_PKG::abi = 2;
int TYPE_PKG::wchar_t_size_in_bits;
TYPE_PKG* tp;

namespace {

std::mutex rt_lock;     // based_types lists, uids
std::mutex mk_ptr_lock; // `normalized` and `pointer` caches; taken before rt_lock
std::mutex built_lock;  // the types of which a package has one, being built; before rt_lock

constexpr unsigned long POINTER_SIZE = 32;
constexpr unsigned WIDEST_ALIGN = 32;

// Slots of TYPE_PKG::basic behind the integers.
constexpr int SLOT_FLOAT = 14, SLOT_VOID = 17, SLOT_VOID_PTR = 18;

struct BASIC_INT {
  TYPE::IKIND kind;
  bool is_signed;
  unsigned long size;
};

constexpr BASIC_INT basic_ints[] = {
    {TYPE::I_BOOL, false, 16},  {TYPE::I_SCHAR, true, 16}, {TYPE::I_UCHAR, false, 16},
    {TYPE::I_WCHAR, false, 16}, {TYPE::I_SHORT, true, 16}, {TYPE::I_USHORT, false, 16},
    {TYPE::I_INT, true, 16},    {TYPE::I_UINT, false, 16}, {TYPE::I_LONG, true, 32},
    {TYPE::I_ULONG, false, 32}, {TYPE::I_LLONG, true, 64}, {TYPE::I_ULLONG, false, 64},
};

unsigned basic_align(unsigned long size) {
  return static_cast<unsigned>(std::min<unsigned long>(size, WIDEST_ALIGN));
}

unsigned long wchar_size() {
  if (TYPE_PKG::wchar_t_size_in_bits) return TYPE_PKG::wchar_t_size_in_bits;
  return TYPE_PKG::abi == 1 ? 32 : 16;
}

unsigned long float_size(TYPE::FKIND k) {
  if (k == TYPE::F_FLOAT) return 32;
  return k == TYPE::F_LDOUBLE || TYPE_PKG::abi == 1 ? 64 : 32;
}

std::string map_name(const TYPE* t) {
  char head[128];
  snprintf(head, sizeof head, "%c%x:%lx:%x:", "virdxp&qtamfecsu?"[t->kind], t -> flags, t -> size,
           t -> align);
  switch (t->kind) {
  case TYPE::K_TYPEDEF: {
    const TYPEDEF_PARTS* parts = t->typedef_parts();
    return std::string(head) + (parts->hidden ? 'h' : '-') + (parts->lowered ? 'l' : '-') +
           parts->name;
  }
  case TYPE::K_ARRAY: {
    const ARRAY_PARTS* parts = t->array_parts();
    return head + std::to_string(parts->count) + (parts->hidden ? 'h' : '-') +
           (parts->complete ? 'c' : '-') + (parts->is_vector ? 'v' : '-');
  }
  case TYPE::K_PTM: return head + std::to_string(t->extra->uid);
  case TYPE::K_FUNC: {
    const FUNC_PARTS* parts = t->func_parts();
    std::string name = std::string(head) + (parts->is_prototyped ? 'p' : '-') +
                       (parts->is_variadic ? 'v' : '-') + (parts->hidden ? 'h' : '-') +
                       std::to_string(parts->convention);
    for (const TYPE_PARAM& p : parts->params) {
      // The length keeps a name from passing for the rest of the list.
      const std::string text = p.name ? p.name : "";
      name += ',' + std::to_string(p.type->uid) + ':' + std::to_string(p.flags) + ':' +
              std::to_string(text.size()) + ':' + text;
    }
    return name;
  }
  // These are never shared, and may still grow: only the name counts, which also sorts them.
  case TYPE::K_ENUM: return std::string("e") + t->name;
  case TYPE::K_CLASS:
  case TYPE::K_STRUCT:
  case TYPE::K_UNION: return std::string("c") + t->name;
  default: return head;
  }
}

bool is_shared_kind(TYPE::KIND kind) {
  return kind < TYPE::K_ENUM;
}

} // namespace

// ---------------------------------------------------------------------------------------------
// Life

TYPE_PKG* TYPE_PKG::init_type_pkg() {
  auto* pkg = new TYPE_PKG;
  pkg->session = static_cast<unsigned>(++tp_count);
  if (!tp) tp = pkg;
  TYPE* nothing = pkg->new_type(TYPE::K_VOID, nullptr, 0, 0);
  pkg->basic[SLOT_VOID] = nothing;
  if (!root_type) root_type = nothing;
  pkg->assign_uid(*nothing);
  pkg->basic[SLOT_VOID_PTR] = pkg->mk_ptr(nothing);
  for (const BASIC_INT& b : basic_ints) {
    const unsigned long size = b.kind == TYPE::I_WCHAR ? wchar_size() : b.size;
    pkg->basic[b.kind] = pkg->mk_int(b.kind, b.is_signed, size, basic_align(size),
                                     b.kind == TYPE::I_BOOL, b.is_signed);
  }
  pkg->basic[TYPE::I_ALIAS_LONG] = pkg->basic[TYPE::I_LONG];
  pkg->basic[TYPE::I_ALIAS_ULONG] = pkg->basic[TYPE::I_ULONG];
  for (TYPE::FKIND k : {TYPE::F_FLOAT, TYPE::F_DOUBLE, TYPE::F_LDOUBLE})
    pkg->basic[SLOT_FLOAT + k] = pkg->mk_fltpt(k, float_size(k), basic_align(float_size(k)));
  pkg->normalize_basic_types();
  return pkg;
}

TYPE_PKG::~TYPE_PKG() {
  if (root_type == basic[SLOT_VOID]) root_type = nullptr;
  if (tp == this) tp = nullptr;
  delete_type_tree(basic[SLOT_VOID], true, false);
}

void TYPE_PKG::update_basic_types() {
  set_basic_layout(basic[TYPE::I_WCHAR], wchar_size(), basic_align(wchar_size()));
  for (TYPE::FKIND k : {TYPE::F_FLOAT, TYPE::F_DOUBLE, TYPE::F_LDOUBLE})
    set_basic_layout(basic[SLOT_FLOAT + k], float_size(k), basic_align(float_size(k)));
}

void TYPE_PKG::set_basic_layout(TYPE* t, unsigned long size, unsigned align) {
  if (t->size == size && t->align == align) return;
  std::lock_guard<std::mutex> hold(rt_lock);
  unlink_type(t);
  t->size = size;
  t->align = align;
  // In front: this is now the one type of its shape.
  TYPE::BASED_TYPE_CONTAINER& twins = (*parent_of(t)->based_types)[map_name(t)];
  twins.insert(twins.begin(), t);
}

TYPE* TYPE_PKG::int_representative(unsigned long size, bool is_signed) const {
  for (TYPE::IKIND k : {TYPE::I_INT, TYPE::I_LONG, TYPE::I_LLONG, TYPE::I_SHORT, TYPE::I_SCHAR}) {
    TYPE* t = basic[is_signed ? k : k + 1];
    if (t->size == size) return t;
  }
  return nullptr;
}

void TYPE_PKG::normalize_basic_types() {
  walk_types([](TYPE* t, void*) { std::atomic_ref(t->normalized).store(nullptr); }, nullptr);
  for (TYPE* t : basic)
    t->normalized_type();
}

TYPE* TYPE::normalized_type() {
  std::atomic_ref cache(normalized);
  if (TYPE* known = cache.load(std::memory_order_acquire)) return known;
  TYPE* t = underlying_type();
  // A boolean stays itself: converting to it is another operation than to an integer of its width.
  if (t->kind == K_INT && !(t->flags & BOOLEAN)) {
    TYPE* shared = pkg->int_representative(t->size, t->flags & SIGNED);
    if (shared) t = shared;
  }
  std::lock_guard<std::mutex> hold(mk_ptr_lock);
  cache.store(t, std::memory_order_release);
  return t;
}

// ---------------------------------------------------------------------------------------------
// Sharing

void TYPE_PKG::assign_uid(TYPE& t) {
  t.uid = next_uid++;
  t.registered = true;
  t.session_mark = session;
}

TYPE* TYPE_PKG::parent_of(TYPE* t) const {
  return t->base != t ? t->base : basic[SLOT_VOID];
}

TYPE* TYPE_PKG::register_type(TYPE* candidate, TYPE* base) {
  if (candidate->uid) return candidate;
  const std::string name = map_name(candidate);
  std::lock_guard<std::mutex> hold(rt_lock);
  if (!base->based_types) base->based_types = new std::map<std::string, TYPE::BASED_TYPE_CONTAINER>;
  TYPE::BASED_TYPE_CONTAINER& twins = (*base->based_types)[name];
  if (is_shared_kind(candidate->kind)) {
    for (TYPE* twin : twins) {
      if (twin->frozen || !exact_types(candidate, twin)) continue;
      delete candidate;
      return twin;
    }
  }
  assign_uid(*candidate);
  twins.push_back(candidate);
  return candidate;
}

// Under rt_lock.
void TYPE_PKG::unlink_type(TYPE* t) {
  TYPE* parent = parent_of(t);
  if (parent == t || !parent->based_types) return;
  auto entry = parent->based_types->find(map_name(t));
  if (entry == parent->based_types->end()) return;
  std::erase(entry->second, t);
  if (entry->second.empty()) parent->based_types->erase(entry);
}

void TYPE_PKG::delete_type_tree(TYPE* t, bool recursive, bool unlink) {
  const bool has_based = t->based_types && !t->based_types->empty();
  if (has_based && !recursive)
    tp_die("Nonrecusive type tree delete with nonempty based list:  TYPE_PKG::delete_type_tree");
  if (unlink) {
    std::scoped_lock hold(mk_ptr_lock, rt_lock);
    unlink_type(t);
    if (t->base->pointer == t) t->base->pointer = nullptr;
  }
  // A chain of derivations may be as long as the memory allows.
  std::vector<TYPE*> doomed{t};
  while (!doomed.empty()) {
    TYPE* last = doomed.back();
    doomed.pop_back();
    if (last->based_types)
      for (const auto& [name, twins] : *last->based_types)
        doomed.insert(doomed.end(), twins.begin(), twins.end());
    delete last;
  }
}

void TYPE_PKG::walk_types(void (*visit)(TYPE*, void*), void* arg) {
  std::vector<TYPE*> pending{basic[SLOT_VOID]};
  while (!pending.empty()) {
    TYPE* t = pending.back();
    pending.pop_back();
    if (t->based_types) {
      const size_t first = pending.size();
      for (const auto& [name, twins] : *t->based_types)
        pending.insert(pending.end(), twins.begin(), twins.end());
      std::reverse(pending.begin() + static_cast<long>(first), pending.end());
    }
    visit(t, arg);
  }
}

// ---------------------------------------------------------------------------------------------
// Makers

// A candidate. A null base makes it its own.
TYPE* TYPE_PKG::new_type(TYPE::KIND kind, TYPE* base, unsigned long size, unsigned align) {
  auto* t = new TYPE(kind);
  t->pkg = this;
  if (base) t->base = base;
  t->size = size;
  t->align = align;
  return t;
}

TYPE* TYPE_PKG::mk_unknown() {
  std::lock_guard<std::mutex> hold(built_lock);
  if (!unknown) unknown = register_type(new_type(TYPE::K_UNKNOWN, nullptr, 0, 0), basic[SLOT_VOID]);
  return unknown;
}

TYPE* TYPE_PKG::mk_int(TYPE::IKIND k, bool boolean) {
  if (k < TYPE::I_BOOL || k > TYPE::I_ULLONG) tp_die("Bad kind: TYPE_PKG::mk_int");
  return boolean ? mk_boolean_int(basic[k]) : basic[k];
}

TYPE* TYPE_PKG::mk_int(TYPE::IKIND k, bool is_signed, unsigned long size, unsigned align,
                       bool is_boolean, bool std_signed) {
  if (k < TYPE::I_BOOL || k > TYPE::I_ULLONG) tp_die("Bad kind: TYPE_PKG::mk_int");
  if (k == TYPE::I_ALIAS_LONG) k = TYPE::I_LONG;
  if (k == TYPE::I_ALIAS_ULONG) k = TYPE::I_ULONG;
  TYPE* t = new_type(TYPE::K_INT, nullptr, size, align);
  t->flags = static_cast<unsigned>(k) | (is_signed ? TYPE::SIGNED : 0u) |
             (is_boolean ? TYPE::BOOLEAN : 0u) | (std_signed ? TYPE::STD_SIGNED : 0u);
  return register_type(t, basic[SLOT_VOID]);
}

TYPE* TYPE_PKG::mk_fltpt(TYPE::FKIND k) {
  if (k < TYPE::F_FLOAT || k > TYPE::F_LDOUBLE) tp_die("Bad fltpt_kind: TYPE_PKG::mk_fltpt");
  return basic[SLOT_FLOAT + k];
}

TYPE* TYPE_PKG::mk_fltpt(TYPE::FKIND k, unsigned long size, unsigned align) {
  if (k < TYPE::F_FLOAT || k > TYPE::F_LDOUBLE) tp_die("Bad fltpt_kind: TYPE_PKG::mk_fltpt");
  TYPE* t = new_type(TYPE::K_FLOAT, nullptr, size, align);
  t->flags = static_cast<unsigned>(k);
  return register_type(t, basic[SLOT_VOID]);
}

TYPE* TYPE_PKG::mk_fxtpt(TYPE* under, int fraction) {
  return mk_fxtpt(under, fraction, under->size, under->align);
}

TYPE* TYPE_PKG::mk_fxtpt(TYPE* under, int fraction, unsigned long size, unsigned align) {
  TYPE* t = new_type(TYPE::K_FIXED, under, size, align);
  t->flags = (under->is_signed() ? TYPE::SIGNED : 0u) | static_cast<unsigned>(fraction & 0xFF)
                                                            << TYPE::FRACTION_SHIFT;
  return register_type(t, under);
}

TYPE* TYPE_PKG::mk_complex(TYPE* part) {
  if (!part) tp_die("part_type is not valid\n");
  return mk_complex(part, 2 * part->size, part->align);
}

TYPE* TYPE_PKG::mk_complex(TYPE* part, unsigned long size, unsigned align) {
  if (!part) tp_die("part_type is not valid\n");
  if (!part->is_float() && !part->is_int())
    tp_die("Bad complex part_type: TYPE::TYPE(TYPE *i_part_type)");
  return register_type(new_type(TYPE::K_COMPLEX, part, size, align), part);
}

TYPE* TYPE_PKG::mk_ptr(TYPE* to) {
  std::atomic_ref cache(to->pointer);
  if (TYPE* known = cache.load(std::memory_order_acquire)) return known;
  std::lock_guard<std::mutex> hold(mk_ptr_lock);
  TYPE* t = mk_ptr(to, POINTER_SIZE, POINTER_SIZE);
  cache.store(t, std::memory_order_release);
  return t;
}

TYPE* TYPE_PKG::mk_ptr(TYPE* to, unsigned long size, unsigned align) {
  return register_type(new_type(TYPE::K_POINTER, to, size, align), to);
}

TYPE* TYPE_PKG::mk_ref(TYPE* to) {
  return mk_ref(to, POINTER_SIZE, POINTER_SIZE);
}

TYPE* TYPE_PKG::mk_ref(TYPE* to, unsigned long size, unsigned align) {
  return register_type(new_type(TYPE::K_REFERENCE, to, size, align), to);
}

TYPE* TYPE_PKG::mk_qual(TYPE* t, unsigned char qual) {
  // Keep one layer where there are just qualifiers.
  if (t->kind == TYPE::K_QUALIFIED) {
    const int old = t->qual_kind(false);
    if ((old | qual) == old) return t;
    return mk_qual(t->base, static_cast<unsigned char>(old | qual), t->size, t->align);
  }
  return qual ? mk_qual(t, qual, t->size, t->align) : t;
}

TYPE* TYPE_PKG::mk_qual(TYPE* t, unsigned char qual, unsigned long size, unsigned align) {
  TYPE* q = new_type(TYPE::K_QUALIFIED, t, size, align);
  q->flags = static_cast<unsigned>(qual) << TYPE::QUAL_SHIFT;
  return register_type(q, t);
}

TYPE* TYPE_PKG::mk_ptm(TYPE* to, TYPE* cls, unsigned long size, unsigned align) {
  TYPE* t = new_type(TYPE::K_PTM, to, size, align);
  t->extra = cls;
  return register_type(t, to);
}

TYPE* TYPE_PKG::make_array(TYPE* elem, const ARRAY_PARTS& parts, unsigned long size,
                           unsigned align) {
  TYPE* t = new_type(TYPE::K_ARRAY, elem, size, align);
  *t->array_parts() = parts;
  return register_type(t, elem);
}

TYPE* TYPE_PKG::mk_array(TYPE* elem, unsigned long count) {
  unsigned long size;
  if (__builtin_mul_overflow(count, elem->size, &size))
    tp_die("Array too large: TYPE_PKG::mk_array");
  return mk_array(elem, count, size, elem->align, false, true);
}

TYPE* TYPE_PKG::mk_array(TYPE* elem, unsigned long count, unsigned long size, unsigned align,
                         bool hidden, bool complete) {
  return make_array(elem, {count, hidden, complete, false, false}, size, align);
}

TYPE* TYPE_PKG::mk_vector(TYPE* elem, bool hidden, unsigned long count, unsigned long size,
                          unsigned align) {
  return make_array(elem, {count, hidden, true, true, elem->is_bool() && elem->size == 1}, size,
                    align);
}

TYPE* TYPE_PKG::mk_bool_vector(int num_lanes) {
  CHECK(num_lanes > 1);
  constexpr unsigned long SIZE = 64;
  TYPE* lane = mk_int(TYPE::I_BOOL, false, 1, 1, true, false);
  return mk_vector(lane, false, static_cast<unsigned long>(num_lanes), SIZE, SIZE);
}

TYPE* TYPE_PKG::mk_vpred() {
  std::lock_guard<std::mutex> hold(built_lock);
  if (vpred) return vpred;
  constexpr unsigned long SIZE = 64;
  vpred = mk_struct("__ld_vpred_tp");
  vpred->size = SIZE;
  vpred->align = SIZE;
  CSU_PARTS* parts = vpred->csu_parts();
  parts->complete = parts->has_long_form = true;
  TYPE* word = basic[TYPE::I_ULLONG];
  fkMDATA field;
  field.name = "__vpred_field";
  field.type = mk_array(word, SIZE / word->size);
  field.number = 1;
  add_member(vpred, field);
  return vpred;
}

TYPE* TYPE_PKG::mk_struct_vector(unsigned long size, TYPE* elem) {
  std::lock_guard<std::mutex> hold(built_lock);
  TYPE*& known = struct_vectors[{size, elem}];
  if (known) return known;
  CHECK(elem->size && size % elem->size == 0);
  char name[64];
  snprintf(name, sizeof name, "__struct_vector%lu_%u", size, elem->uid);
  known = mk_struct(name);
  known->size = size;
  known->align = elem->align;
  CSU_PARTS* parts = known->csu_parts();
  parts->complete = parts->has_long_form = parts->vector_like = true;
  fkMDATA field;
  field.name = "__lanes";
  field.type = mk_array(elem, size / elem->size);
  field.number = 1;
  add_member(known, field);
  return known;
}

TYPE* TYPE_PKG::mk_func(TYPE* ret, bool prototyped, bool variadic, int convention, bool hidden,
                        std::vector<TYPE_PARAM> params) {
  TYPE* t = new_type(TYPE::K_FUNC, ret, 0, 0);
  for (TYPE_PARAM& p : params)
    p.name = p.name ? intern_text(p.name) : "";
  *t->func_parts() = {std::move(params), prototyped, variadic, convention, hidden};
  return register_type(t, ret);
}

TYPE* TYPE_PKG::mk_enum(const char* name, TYPE* under, unsigned long size, unsigned align) {
  TYPE* t = new_type(TYPE::K_ENUM, under, size, align);
  t->name = t->enum_parts()->name = name ? intern_text(name) : "";
  seen_enum_type = true;
  if (size < basic[TYPE::I_INT]->size) seen_small_enums = true;
  return register_type(t, under);
}

TYPE* TYPE_PKG::mk_csu(TYPE::KIND kind, const char* name) {
  if (kind < TYPE::K_CLASS || kind > TYPE::K_UNION) tp_die("Bad kind: TYPE_PKG::mk_csu");
  TYPE* t = new_type(kind, nullptr, 0, 0);
  t->name = t->csu_parts()->name = name ? intern_text(name) : "";
  return register_type(t, basic[SLOT_VOID]);
}

TYPE* TYPE_PKG::mk_typedef(const char* name, bool hidden, TYPE* to, unsigned long size,
                           unsigned align, bool lowered) {
  char fake[32];
  if (!name || !*name) {
    snprintf(fake, sizeof fake, "$$fake%u", fake_names++);
    name = fake;
  }
  TYPE* t = new_type(TYPE::K_TYPEDEF, to, size, align);
  t->name = intern_text(name);
  *t->typedef_parts() = {t->name, hidden, lowered, nullptr};
  return register_type(t, to);
}

fkMDATA* TYPE_PKG::add_member(TYPE* csu, const fkMDATA& member) {
  CSU_PARTS* parts = csu->csu_parts();
  auto* m = new fkMDATA(member);
  m->name = m->name ? intern_text(m->name) : "";
  m->owner = csu->underlying_type();
  parts->members.push_back(m);
  parts->member_by_number.emplace(m->number, m);
  parts->has_data = true;
  if (m->is_bitfield()) seen_bitfield = true;
  return m;
}
