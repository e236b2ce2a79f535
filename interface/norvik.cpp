int norvik_interface_placeholder = 0;
