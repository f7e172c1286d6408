// Functions that were suppressed and turn out to be needed: they run on their own, and are written
// like all others.
#include "tests/unit/ir_fixture.h"

#include "OPT5/fileopt.h"
#include "OPT5/opt_client.h"
#include "OPT5/streams.h"
#include "OPT5/write.h"
#include "ifile/i_file.h"
#include "tools/unit/unit.h"

#include <fstream>
#include <iterator>

namespace {

SYMTAB* needed;                // what user() finds a use of; may be null
std::vector<std::string> runs; // by user(): the functions in their order
std::mutex runs_lock;
std::vector<int> modes; // what each step saw of the file's modes

void user() {
  std::lock_guard<std::mutex> hold(runs_lock);
  runs.push_back(currfunc->name);
  modes.insert(modes.end(), {chars_alias_other_types, no_outside_callers, no_outside_writers});
  if (needed && currfunc != needed) {
    unsuppress_inline_function(find_FUNINFO(needed));
    unsuppress_inline_function(find_FUNINFO(needed)); // once is enough
  }
}

} // namespace

class SUPPRESSION : public IrTest {
protected:
  void SetUp() override {
    IrTest::SetUp();
    path = ::testing::TempDir() + "suppression.icode";
    o_file = I_FILE::if_create(fopen(path.c_str(), "w+b"), tp, "s.c", 0);
    setup_passes(false);
    for (const char* text : {"first", "inlined", "last"})
      add_function(text);
    needed = nullptr;
    runs.clear();
    modes.clear();
    finfo = tmpfile();
    write_opt_info = 1;
  }

  void TearDown() override {
    fclose(finfo);
    finfo = nullptr;
    write_opt_info = 0;
    max_threads = 0;
    delete o_file;
    o_file = nullptr;
    functions.clear();
    steps_table.clear();
    call_graph.clear();
    erase_all_passes();
    remove(path.c_str());
    currfunc = func;
    currfuninfo = make_FUNINFO(func);
    IrTest::TearDown();
  }

  void add_function(const char* text) {
    auto* sym = new SYMTAB;
    sym->name = strdup(text);
    sym->type = sym->otype = func->type;
    sym->sclass = sym->orig_class = SC_STATIC;
    sym->size = func->type->size;
    enter_global_symbol(sym);
    note_function_body(sym);
    o_file->if_enter_global(sym);
    functions.push_back(sym);
    currfunc = sym;
    currfuninfo = make_FUNINFO(sym);
    currfuninfo->scope = LS::init(nullptr, sym);
    stmt(maketree(RETURN, mk_NAME(sym), icon(1), tp->mk_void()));
    buildcfg();
  }

  // The steps: the functions' order is chosen, then user() runs. Gives the bodies that were
  // written.
  std::vector<std::string> written(int threads) {
    max_threads = threads;
    for (pass* step : normal_order)
      if (step->name() == "set call-graph order") permuted_order = {step};
    permuted_order.push_back(new pass("user", user));
    run_all_steps();
    currfunc = nullptr;
    currfuninfo = nullptr;
    EXPECT_EQ(o_file->if_close(true, false), 0);
    std::ifstream in(path, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(in), {}};
    icode::UNIT unit;
    std::string error;
    EXPECT_TRUE(icode::decode_unit({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()},
                                   unit, error))
        << error;
    std::vector<std::string> names;
    for (const icode::FUNCTION& function : unit.functions)
      names.push_back(unit.globals[function.global].name);
    return names;
  }

  std::string information() {
    std::string text(static_cast<size_t>(ftell(finfo)), 0);
    rewind(finfo);
    text.resize(fread(text.data(), 1, text.size(), finfo));
    return text;
  }

  std::string path;
};

using NAMES = std::vector<std::string>;

TEST_F(SUPPRESSION, WithoutAUseNothingIsWritten) {
  make_FUNINFO(find_global_symbol("inlined"))->set_properties(FP_SUPPRESSED);
  EXPECT_EQ(written(0), (NAMES{"first", "last"}));
  EXPECT_EQ(runs, (NAMES{"first", "last"}));
}

TEST_F(SUPPRESSION, AUseBringsTheFunctionBack) {
  needed = find_global_symbol("inlined");
  FUNINFO* record = make_FUNINFO(needed);
  record->set_properties(FP_SUPPRESSED);
  EXPECT_EQ(written(0), (NAMES{"first", "last", "inlined"}));
  EXPECT_EQ(runs, (NAMES{"first", "last", "inlined"}));
  EXPECT_TRUE(record->has_property(FP_MUST_KEEP));
  EXPECT_FALSE(record->has_property(FP_SUPPRESSED));
  const std::string text = information();
  const std::string told = "\nInlineable function inlined() was marked for suppression,"
                           "\nbut it cannot be because of a problematic use in first().\n\n";
  EXPECT_NE(text.find(told), std::string::npos) << text;
  EXPECT_EQ(text.find("marked", text.find("marked") + 1), std::string::npos) << text;
}

TEST_F(SUPPRESSION, WithThreadsOutputStaysInOrder) {
  needed = find_global_symbol("inlined");
  make_FUNINFO(needed)->set_properties(FP_SUPPRESSED);
  EXPECT_EQ(written(2), (NAMES{"first", "last", "inlined"}));
  EXPECT_EQ(runs.size(), 3u);
  EXPECT_EQ(runs.back(), "inlined");
}

// Some uses don't count: of an external function whose body others may bring, and of one that is
// left out for good.
TEST_F(SUPPRESSION, SomeFunctionsStayAway) {
  needed = find_global_symbol("inlined");
  make_FUNINFO(needed)->set_properties(FP_SUPPRESSED | FP_OUT_OF_ORDER);
  EXPECT_EQ(written(0), (NAMES{"first", "last"}));
}

// A worker sees the modes of the file as the thread that started it does.
TEST_F(SUPPRESSION, WorkersTakeOverTheModesOfTheFile) {
  no_outside_callers = 1;
  no_outside_writers = 0;
  EXPECT_EQ(written(2).size(), 3u);
  EXPECT_EQ(modes, (std::vector<int>{1, 1, 0, 1, 1, 0, 1, 1, 0}));
  no_outside_callers = 0;
}
