# What doxygen reads instead of the header: families are topics of their own, so that each gets a page, and each
# page has an example from examples/reference, with what it prints.
/@name /{
    h
    s,@name ([A-Za-z]+)(.*),@defgroup family_\1 \1\2,
}
/\/\/\/ @\{/{
    x
    s|.*@name ([A-Za-z]+).*|    ///\n    /// @par Example\n    /// @snippet reference.cpp \1\n    /// prints, with `show` for a line of numbers,\n    /// @snippet reference.txt \1\n    /// @{|
}
