// Symbols: life, lists, names, temporaries.

#include "OPT5/symbol.h"

#include "DIAG/abort.h"
#include "DIAG/safemalloc.h"
#include "OPT5/funinfo.h"
#include "OPT5/scope.h"
#include "OPT5/settings.h"
#include "OPT5/streams.h"
#include "OPT5/types.h"
#include "options/option_obj.h"

#include <atomic>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <unordered_map>
#include <unordered_set>

SYMTAB* global_symbols;
SYMTAB* mcall_implicit_state;
SYMTAB* flag_status_register;

namespace {

std::mutex all_symbols_lock;
std::vector<SYMTAB*> all_symbols; // owns them
std::atomic<unsigned long> next_serial;
SYMTAB* last_global;
std::unordered_map<std::string, SYMTAB*> globals_by_name;

// Which function a symbol was interned for. Symbols are not copied in this configuration, so an
// entry says just that the copier has met the symbol.
struct INTERNED_SYM {
  SYMTAB* sym;
  FUNINFO* owner;
  bool operator==(const INTERNED_SYM& other) const { return sym == other.sym; }
};
struct isym_hash {
  size_t operator()(const INTERNED_SYM& entry) const { return std::hash<const void*>()(entry.sym); }
};
std::mutex intern_lock;
std::unordered_set<INTERNED_SYM, isym_hash> intern_hash;

std::vector<SYMTAB*> alias_exceptions; // of file scope, in a serial run

} // namespace

SYMTAB::SYMTAB() : serial(next_serial++) {
  std::lock_guard<std::mutex> hold(all_symbols_lock);
  all_symbols.push_back(this);
}

SYMTAB::~SYMTAB() {
  for (NODE* tree : init_list)
    erase_tree(tree);
  while (pragmas) {
    PRAGMA* next_pragma = pragmas->next;
    delete pragmas;
    pragmas = next_pragma;
  }
  free(name);
}

void init_symbols() {
  global_symbols = last_global = mcall_implicit_state = flag_status_register = nullptr;
}

void erase_all_symbols() {
  for (SYMTAB* sym : all_symbols)
    delete sym;
  erase_unit_memory();
  all_symbols.clear();
  globals_by_name.clear();
  intern_hash.clear();
  alias_exceptions.clear();
  forget_psn_owners();
  init_symbols();
}

int SYMTAB::sym_prag_num() const {
  int count = 0;
  for (const PRAGMA* p = pragmas; p; p = p->next)
    count++;
  return count;
}

void SYMTAB::set_init_list(std::list<BASE_NODE*> roots) {
  for (NODE* tree : init_list)
    erase_tree(tree);
  init_list.clear();
  for (BASE_NODE* root : roots)
    init_list.push_back(static_cast<NODE*>(root));
  has_init = true;
}

// A name leads to what other units see under it: an external definition, else a static one, else a
// declaration. Of several of one kind the first is as good as any.
static int rank_as_definition(const SYMTAB* sym) {
  return sym->sclass == SC_EXTERN_DECL ? 0 : sym->sclass == SC_STATIC ? 1 : 2;
}

void enter_global_symbol(SYMTAB* sym) {
  sym->next = nullptr;
  (last_global ? last_global->next : global_symbols) = sym;
  last_global = sym;
  auto [place, is_new] = globals_by_name.emplace(sym->name, sym);
  if (!is_new && rank_as_definition(place->second) < rank_as_definition(sym)) place->second = sym;
}

void note_function_body(SYMTAB* sym) {
  sym->is_defined = true;
  SYMTAB*& known = globals_by_name[sym->name];
  if (!known || rank_as_definition(known) <= rank_as_definition(sym)) known = sym;
}

SYMTAB* find_global_symbol(const char* name) {
  auto place = globals_by_name.find(name);
  return place == globals_by_name.end() ? nullptr : place->second;
}

// ---------------------------------------------------------------------------------------------
// Alias marks, and what a threaded run keeps per function

void SYMTAB::set_is_aliased(bool v) {
  const bool was_exception = alias_exception;
  alias_exception = v != aliased_by_default();
  if (level == 0 && alias_exception && !was_exception) alias_exceptions.push_back(this);
}

void reset_alias_exceptions() {
  for (SYMTAB* sym : alias_exceptions)
    sym->set_is_aliased(sym->aliased_by_default());
  alias_exceptions.clear();
  for (auto& [sym, marks] : currfuninfo->global_marks)
    marks.aliased = sym->aliased_by_default();
}

static FUNINFO* record_of_current_function() {
  CHECK(currfuninfo != NULL);
  return currfuninfo;
}

GLOBAL_MARKS GLOBAL_SYM::marks() const {
  const auto& all = record_of_current_function()->global_marks;
  const auto place = all.find(this);
  return place == all.end() ? GLOBAL_MARKS{aliased_by_default()} : place->second;
}

GLOBAL_MARKS& GLOBAL_SYM::own_marks() {
  return record_of_current_function()
      ->global_marks.try_emplace(this, GLOBAL_MARKS{aliased_by_default()})
      .first->second;
}

bool GLOBAL_SYM::is_aliased() const {
  return marks().aliased;
}
short GLOBAL_SYM::bitnum() const {
  return marks().bitnum;
}
long GLOBAL_SYM::depnum() const {
  return marks().depnum;
}
bool GLOBAL_SYM::is_under_ARGREF() const {
  return marks().under_ARGREF;
}
void GLOBAL_SYM::set_is_aliased(bool v) {
  own_marks().aliased = v;
}
void GLOBAL_SYM::set_bitnum(short v) {
  own_marks().bitnum = v;
}
void GLOBAL_SYM::inc_bitnum() {
  count_up(own_marks().bitnum);
}
void GLOBAL_SYM::set_depnum(long v) {
  own_marks().depnum = v;
}
void GLOBAL_SYM::inc_depnum() {
  own_marks().depnum++;
}
void GLOBAL_SYM::set_is_under_ARGREF(bool v) {
  own_marks().under_ARGREF = v;
}

// ---------------------------------------------------------------------------------------------
// Lists

SYMLIST* mk_symlist(SYMTAB* sym, SYMLIST* next) {
  return new SYMLIST{sym, next};
}
SYMALIST* mk_symalist(SYMTAB* sym, NODE* tree, SYMALIST* next, int info) {
  return new SYMALIST{sym, tree, info, next};
}
SYMPAIRLIST* mk_symplist(SYMTAB* a, SYMTAB* b, SYMPAIRLIST* next, int info) {
  return new SYMPAIRLIST{a, b, info, next};
}

template <class CELL> static void free_cells(CELL* list) {
  while (list) {
    CELL* next = list->next;
    delete list;
    list = next;
  }
}

void free_symlist(SYMLIST* list) {
  free_cells(list);
}
void free_symplist(SYMPAIRLIST* list) {
  free_cells(list);
}

template <class CELL> static CELL* reverse(CELL* list) {
  CELL* done = nullptr;
  while (list) {
    CELL* next = list->next;
    list->next = done;
    done = list;
    list = next;
  }
  return done;
}

SYMTAB* revsymtab(SYMTAB* list) {
  return reverse(list);
}
SYMLIST* revsymlist(SYMLIST* list) {
  return reverse(list);
}
SYMALIST* revsymalist(SYMALIST* list) {
  return reverse(list);
}

const SYMPAIRLIST* find_sym_in_sympairlist(const SYMTAB* sym, const SYMPAIRLIST* list) {
  while (list && list->first != sym)
    list = list->next;
  return list;
}

SYMLIST* find_sym_in_symlist(const SYMTAB* sym, SYMLIST* list) {
  while (list && list->sym != sym)
    list = list->next;
  return list;
}

SYMLIST* remove_sym_from_symlist(const SYMTAB* sym, SYMLIST* list) {
  for (SYMLIST** place = &list; *place; place = &(*place)->next) {
    if ((*place)->sym != sym) continue;
    SYMLIST* cell = *place;
    *place = cell->next;
    delete cell;
    break;
  }
  return list;
}

bool symbol_in_list(const SYMTAB* sym, const SYMTAB* list) {
  while (list && list != sym)
    list = list->next;
  return list != nullptr;
}

SYMTAB* unlink_symbol(SYMTAB* sym, SYMTAB* list) {
  for (SYMTAB** place = &list; *place; place = &(*place)->next) {
    if (*place != sym) continue;
    *place = sym->next;
    sym->next = nullptr;
    break;
  }
  return list;
}

SYMTAB* find_symbol_by_name(const char* name, SYMTAB* list) {
  while (list && strcmp(list->name, name) != 0)
    list = list->next;
  return list;
}

// ---------------------------------------------------------------------------------------------
// Sorting the locals

static void push(SYMTAB* sym, SYMTAB*& list) {
  sym->next = list;
  list = sym;
}

// Appends, so that the order of declaration is kept.
static void append_all(std::vector<SYMTAB*>& group, SYMTAB*& list) {
  SYMTAB** tail = &list;
  while (*tail)
    tail = &(*tail)->next;
  for (SYMTAB* sym : group) {
    sym->next = nullptr;
    *tail = sym;
    tail = &sym->next;
  }
}

void sym_split(FUNINFO* fi) {
  const SYMTAB* slow = fi->reg_candidates;
  const SYMTAB* fast = slow ? slow->next : nullptr;
  for (; fast && fast->next; slow = slow->next, fast = fast->next->next)
    CHECK(slow != fast);

  std::vector<SYMTAB*> scalars, others;
  for (SYMTAB* list : {fi->incoming, fi->inlined_params}) {
    for (SYMTAB* next; list; list = next) {
      next = list->next;
      if (list->sclass == 0 || list->sclass > SC_RESULT) optassert("sclass", __FILE__, __LINE__);
      if (list->sclass == SC_LABEL) {
        list->next = nullptr;
        continue;
      }
      if (list->sclass == SC_REGISTER || list->sclass == SC_REGPARM_COPY) list->sclass = SC_AUTO;
      bool candidate = list->sclass == SC_AUTO && list->level != PARAMETER_LEVEL &&
                       list->type->is_scalar() && !list->type->is_volatile();
      (candidate ? scalars : others).push_back(list);
    }
  }
  fi->incoming = fi->inlined_params = nullptr;
  append_all(scalars, fi->reg_candidates);
  append_all(others, fi->symbols);
}

// ---------------------------------------------------------------------------------------------
// Temporaries and names

static const char TEMP_PREFIX[] = "$O";

// A new automatic local of the outermost block, or of `scope`, under a name of its own.
static SYMTAB* new_local(const char* name, TYPE* type, LS* scope) {
  if (type->is_enum()) type = tp->mk_plain_int();
  type = essential_type(type);
  auto* sym = new SYMTAB;
  sym->name = safestrdup(name);
  sym->type = sym->otype = sym->cpp_type = type;
  sym->size = type->size;
  sym->align = type->align;
  sym->sclass = sym->orig_class = SC_AUTO;
  sym->level = 2;
  sym->index = currfuninfo->sym_counter++;
  push(sym, currfuninfo->incoming);
  sym->scope = scope ? scope : currfuninfo->scope ? currfuninfo->scope->level_2_scope() : nullptr;
  if (sym->scope) sym->scope->add_symbol(sym);
  return sym;
}

static int next_if_negative(int number) {
  return number < 0 ? currfuninfo->temp_counter++ : number;
}

SYMTAB* sym_temp(int kind, int number, TYPE* type, LS* scope) {
  char text[64];
  snprintf(text, sizeof text, "%s$%c%ld", TEMP_PREFIX, kind,
           static_cast<long>(next_if_negative(number)));
  return new_local(text, type, scope);
}

SYMTAB* clone_symbol(SYMTAB* sym, int number) {
  // The name up to a "$<digits>" that ends it.
  size_t length = strlen(sym->name);
  size_t digits = length;
  while (digits > 0 && isdigit(static_cast<unsigned char>(sym->name[digits - 1])))
    digits--;
  if (digits > 1 && digits < length && sym->name[digits - 1] == '$') length = digits - 1;
  std::string text(sym->name, length);
  char suffix[32];
  snprintf(suffix, sizeof suffix, "$%03d", next_if_negative(number));
  return new_local((text + suffix).c_str(), sym->type, sym->scope);
}

SYMTAB* new_vt_sym_temp(TYPE* type, const char* base, int number) {
  TYPE* element = type->is_vector() ? type->elem_type() : type;
  const char kind = element->is_float() ? 'f' : element->is_signed() ? 's' : 'u';
  const auto width = static_cast<unsigned>(element->size);
  char suffix[64];
  number = next_if_negative(number);
  if (type->is_vector())
    snprintf(suffix, sizeof suffix, "$%03d$%c%ux%u", number, kind, width,
             static_cast<unsigned>(type->size / element->size));
  else
    snprintf(suffix, sizeof suffix, "$%03d$%c%u", number, kind, width);
  return new_local((std::string(TEMP_PREFIX) + base + suffix).c_str(), type, nullptr);
}

SYMTAB* gen_operator_new_temp(TYPE* type) {
  return sym_temp('N', -1, type, nullptr);
}

bool is_operator_new_symbol(const SYMTAB* sym) {
  return is_optimizer_temp(sym->name, 'N', 'N');
}

// Finds or makes the partner of sym on one of the function's two lists of partners.
static SYMTAB* partner(SYMTAB* sym, TYPE* type, int kind, SYMPAIRLIST*& list) {
  if (const SYMPAIRLIST* entry = find_sym_in_sympairlist(sym, list)) return entry->second;
  SYMTAB* other = sym_temp(kind, -1, type, sym->scope);
  list = mk_symplist(sym, other, list, 0);
  return other;
}

static SYMTAB* second_of(const SYMPAIRLIST* entry) {
  return entry ? entry->second : nullptr;
}

SYMTAB* make_widened_symbol_entry(SYMTAB* sym, TYPE* wider) {
  CHECK(wider->size > sym->size);
  return partner(sym, wider, 'W', currfuninfo->widened);
}
SYMTAB* find_widened_symbol_entry(const SYMTAB* sym) {
  return second_of(find_sym_in_sympairlist(sym, currfuninfo->widened));
}
SYMTAB* make_shortened_symbol_entry(SYMTAB* sym, TYPE* narrower) {
  CHECK(narrower->size < sym->size);
  return partner(sym, narrower, 'Y', currfuninfo->shortened);
}
SYMTAB* find_shortened_symbol_entry(const SYMTAB* sym) {
  return second_of(find_sym_in_sympairlist(sym, currfuninfo->shortened));
}

SYMTAB* sym_def(SYMTAB* sym) {
  if (sym->is_defined || sym->has_init || sym->sclass == SC_STATIC) return sym;
  const char* name = strcmp(sym->name, "errno") == 0 ? "_Errno" : sym->name;
  SYMTAB* def = find_global_symbol(name);
  return def ? def : sym;
}

SYMTAB* get_sym_def_for_decl(SYMTAB* sym) {
  return sym->level == 0 ? sym_def(sym) : sym;
}

bool name_has_prefix(const char* name) {
  if (*name != '.' && *name != '_') return false;
  return !(file_options && file_options->getnumarg(OPT_abi, 0) == ABI_EABI);
}

const char* skip_name_prefix(const char* name) {
  return name_has_prefix(name) ? name + 1 : name;
}

bool is_internal_name(const char* name) {
  return strncmp(name, TEMP_PREFIX, 2) == 0;
}

bool is_optimizer_temp(const char* name, char c1, char c2) {
  if (strncmp(name, "$O$", 3) != 0 || (name[3] != c1 && name[3] != c2) || !name[3]) return false;
  for (const char* p = name + 4; *p; p++)
    if (*p < '0' || *p > '9') return false;
  return true;
}

bool is_LIR_temp(const SYMTAB* sym) {
  return strncmp(sym->name, "$O$Lr", 5) == 0;
}
bool is_internal_symbol(const SYMTAB* sym) {
  return is_internal_name(sym->name);
}

// ---------------------------------------------------------------------------------------------
// Interning, types, pragmas

SYMTAB* intern_symbol(SYMTAB* sym, FUNINFO* fi) {
  std::lock_guard<std::mutex> hold(intern_lock);
  intern_hash.insert({sym, fi});
  return sym;
}

SYMTAB* find_interned_symbol(SYMTAB* sym) {
  std::lock_guard<std::mutex> hold(intern_lock);
  auto place = intern_hash.find({sym, nullptr});
  return place == intern_hash.end() ? nullptr : place->sym;
}

void map_over_interned_symbols(void (*visit)(SYMTAB*)) {
  for (const INTERNED_SYM& entry : intern_hash)
    visit(entry.sym);
}

void interned_stats() {
  int ownerless = 0;
  for (const INTERNED_SYM& entry : intern_hash)
    ownerless += !entry.owner;
  print_if_debug("\n%zu interned symbols;  load factor %.2f, max load factor %.2f, %d with NULL "
                 "funinfo.\n",
                 intern_hash.size(), intern_hash.load_factor(), intern_hash.max_load_factor(),
                 ownerless);
}

void revert_symbol_type(SYMTAB* sym) {
  if (sym->otype && sym->otype->size == sym->size) sym->type = sym->otype;
}

PRAGMA* symbol_has_pragma(const SYMTAB* sym, int kind) {
  PRAGMA* p = sym->pragmas;
  while (p && p->kind != kind)
    p = p->next;
  return p;
}

PRAGMA* remove_pragma(int kind, PRAGMA* list) {
  for (PRAGMA** place = &list; *place;) {
    if ((*place)->kind != kind) {
      place = &(*place)->next;
      continue;
    }
    PRAGMA* gone = *place;
    *place = gone->next;
    delete gone;
  }
  return list;
}
