#version 430
#line ./part 1
layout(local_size_x = 1) in;
#line N.comp 2
void main() {}
