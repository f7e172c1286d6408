// Objects with a dense serial number in a namespace: handed out in order of construction, never
// used twice.
#pragma once

#include <cstddef>
#include <vector>

template <class T, class NS> class serial_object;

template <class T, class NS> class serial_namespace {
public:
  std::vector<serial_object<T, NS>*> objects; // null where an object has died
  void clear() { objects.clear(); }
};

template <class T, class NS> class serial_object {
public:
  explicit serial_object(serial_namespace<T, NS>& ns) : number(ns.objects.size()), home(&ns) {
    ns.objects.push_back(this);
  }
  virtual ~serial_object() {
    if (number < home->objects.size()) home->objects[number] = nullptr;
  }
  serial_object(const serial_object&) = delete;
  serial_object& operator=(const serial_object&) = delete;
  size_t serial() const { return number; }

private:
  size_t number;
  serial_namespace<T, NS>* home;
};
