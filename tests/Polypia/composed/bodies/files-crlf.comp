uniform vec4 tint;
#line ./part 1
vec4 part(vec4 c)

{ return c; }
#line N.comp 3
 #include "part"
void main() { /* N.comp */ }
#line N.comp 6
