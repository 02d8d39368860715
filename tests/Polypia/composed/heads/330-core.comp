#version 330 core
