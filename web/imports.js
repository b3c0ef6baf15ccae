// Names what the module imports from the page, so that the linker reports every other function that is missing. The page
// has the functions themselves in charset.js.
mergeInto(LibraryManager.library, {
  dipx_knows_charset() {},
  dipx_decode() {},
  dipx_take_decoded() {},
});
